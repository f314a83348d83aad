#pragma once

#include "WaylandOutput.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QHash>
#include <QList>
#include <QMetaType>
#include <QRect>
#include <QString>
#include <QVariantList>
#include <QVariantMap>

#include <optional>

namespace platform {

/// GNOME's compositor's description of the displays, as its display configuration service
/// reports it, and the request that switches the main monitor to another mode.
struct MutterDisplayState {
    /// A physical monitor: its connector and the modes it offers.
    struct Monitor {
        QString connector;
        QString vendor;
        QString product;
        QString serial;
        QList<WaylandOutputMode> modes;
        std::optional<WaylandOutputMode> current;
        QHash<QString, QList<double>> scales; ///< the scales each mode supports, by mode id
    };

    /// A region of the desktop shown by one or more monitors (more when they mirror).
    struct LogicalMonitor {
        int x = 0;
        int y = 0;
        double scale = 1;
        uint transform = 0;
        bool primary = false;
        QStringList connectors;
    };

    /// One monitor of a logical monitor in the request: its connector and the mode to show.
    struct MonitorConfig {
        QString connector;
        QString modeId;
        QVariantMap properties;
    };

    /// One logical monitor in the request, placed and scaled as it is now.
    struct LogicalMonitorConfig {
        int x = 0;
        int y = 0;
        double scale = 1;
        uint transform = 0;
        bool primary = false;
        QList<MonitorConfig> monitors;
    };

    /// How logical monitors are measured: in logical pixels (a monitor's mode divided by its
    /// scale) or in the mode's own pixels.
    enum class LayoutMode : uint { Logical = 1, Physical = 2 };

    uint serial = 0;
    LayoutMode layoutMode = LayoutMode::Physical;
    QList<Monitor> monitors;
    QList<LogicalMonitor> logicalMonitors;

    /// The reply's exact type: anything else is refused before a single value is read.
    static constexpr const char *currentStateSignature =
        "ua((ssss)a(siiddada{sv})a{sv})a(iiduba(ssss)a{sv})a{sv}";

    /// Reads the reply to the state query; nothing when it is an error or not of that shape.
    [[nodiscard]] static std::optional<MutterDisplayState> parse(const QDBusMessage &reply);

    /// The monitor of the primary logical monitor (else of the first one), with its modes.
    [[nodiscard]] std::optional<WaylandOutput> mainOutput() const;

    /// The arguments of the request that shows a mode of that size on the main monitor (on each
    /// monitor mirroring it too), at a scale the mode supports, keeping every other monitor in
    /// its mode and the logical monitors side by side as they are: those beyond the main one's
    /// right or bottom edge move with it. Nothing when a monitor in use has no current mode to
    /// keep, a mirroring monitor lacks the size, or no arrangement keeps them adjacent.
    [[nodiscard]] std::optional<QVariantList> applyArguments(QSize size) const;

    /// Makes the request's structures known to D-Bus; safe to call more than once.
    static void registerTypes();

private:
    [[nodiscard]] const LogicalMonitor *mainLogicalMonitor() const;
    [[nodiscard]] const Monitor *monitor(const QString &connector) const;
    /// The area a logical monitor covers when its first monitor shows a mode of that size.
    [[nodiscard]] QRect area(const LogicalMonitor &logical, QSize modeSize, double scale) const;
};

QDBusArgument &operator<<(QDBusArgument &argument, const MutterDisplayState::MonitorConfig &config);
const QDBusArgument &operator>>(const QDBusArgument &argument,
                                MutterDisplayState::MonitorConfig &config);
QDBusArgument &operator<<(QDBusArgument &argument,
                          const MutterDisplayState::LogicalMonitorConfig &config);
const QDBusArgument &operator>>(const QDBusArgument &argument,
                                MutterDisplayState::LogicalMonitorConfig &config);

} // namespace platform

Q_DECLARE_METATYPE(platform::MutterDisplayState::MonitorConfig)
Q_DECLARE_METATYPE(platform::MutterDisplayState::LogicalMonitorConfig)
