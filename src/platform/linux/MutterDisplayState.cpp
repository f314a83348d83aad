#include "MutterDisplayState.h"

#include "MutterMonitorLayout.h"

#include <QDBusMetaType>

#include <cmath>

namespace platform {

namespace {

// The reply's signature has been checked as a whole before these run, so every read below
// finds the type it expects.

MutterDisplayState::Monitor readMonitor(const QDBusArgument &argument)
{
    MutterDisplayState::Monitor monitor;
    argument.beginStructure();
    argument.beginStructure();
    argument >> monitor.connector >> monitor.vendor >> monitor.product >> monitor.serial;
    argument.endStructure();
    argument.beginArray();
    while (!argument.atEnd()) {
        WaylandOutputMode mode;
        int width = 0;
        int height = 0;
        double preferredScale = 0;
        QList<double> scales;
        QVariantMap properties;
        argument.beginStructure();
        argument >> mode.id >> width >> height >> mode.refreshRate >> preferredScale >> scales >>
            properties;
        argument.endStructure();
        mode.size = QSize(width, height);
        if (mode.size.isEmpty()) {
            continue;
        }
        monitor.modes.append(mode);
        monitor.scales.insert(mode.id, scales);
        if (properties.value(QStringLiteral("is-current")).toBool()) {
            monitor.current = mode;
        }
    }
    argument.endArray();
    QVariantMap properties;
    argument >> properties;
    argument.endStructure();
    return monitor;
}

MutterDisplayState::LogicalMonitor readLogicalMonitor(const QDBusArgument &argument)
{
    MutterDisplayState::LogicalMonitor logical;
    argument.beginStructure();
    argument >> logical.x >> logical.y >> logical.scale >> logical.transform >> logical.primary;
    argument.beginArray();
    while (!argument.atEnd()) {
        QString connector;
        QString vendor;
        QString product;
        QString serial;
        argument.beginStructure();
        argument >> connector >> vendor >> product >> serial;
        argument.endStructure();
        logical.connectors.append(connector);
    }
    argument.endArray();
    QVariantMap properties;
    argument >> properties;
    argument.endStructure();
    return logical;
}

} // namespace

std::optional<MutterDisplayState> MutterDisplayState::parse(const QDBusMessage &reply)
{
    if (reply.type() != QDBusMessage::ReplyMessage ||
        reply.signature() != QLatin1StringView(currentStateSignature)) {
        return std::nullopt;
    }
    const QVariantList arguments = reply.arguments();
    if (arguments.size() != 4 || !arguments.at(1).canConvert<QDBusArgument>() ||
        !arguments.at(2).canConvert<QDBusArgument>()) {
        return std::nullopt;
    }
    MutterDisplayState state;
    state.serial = arguments.at(0).toUInt();

    const auto monitors = arguments.at(1).value<QDBusArgument>();
    monitors.beginArray();
    while (!monitors.atEnd()) {
        state.monitors.append(readMonitor(monitors));
    }
    monitors.endArray();

    const auto logicalMonitors = arguments.at(2).value<QDBusArgument>();
    logicalMonitors.beginArray();
    while (!logicalMonitors.atEnd()) {
        state.logicalMonitors.append(readLogicalMonitor(logicalMonitors));
    }
    logicalMonitors.endArray();

    const auto properties = qdbus_cast<QVariantMap>(arguments.at(3));
    if (properties.value(QStringLiteral("layout-mode")).toUInt() == uint(LayoutMode::Logical)) {
        state.layoutMode = LayoutMode::Logical;
    }
    return state;
}

const MutterDisplayState::LogicalMonitor *MutterDisplayState::mainLogicalMonitor() const
{
    for (const LogicalMonitor &logical : logicalMonitors) {
        if (logical.primary && !logical.connectors.isEmpty()) {
            return &logical;
        }
    }
    for (const LogicalMonitor &logical : logicalMonitors) {
        if (!logical.connectors.isEmpty()) {
            return &logical;
        }
    }
    return nullptr;
}

const MutterDisplayState::Monitor *MutterDisplayState::monitor(const QString &connector) const
{
    for (const Monitor &candidate : monitors) {
        if (candidate.connector == connector) {
            return &candidate;
        }
    }
    return nullptr;
}

std::optional<WaylandOutput> MutterDisplayState::mainOutput() const
{
    const LogicalMonitor *logical = mainLogicalMonitor();
    if (!logical) {
        return std::nullopt;
    }
    const Monitor *main = monitor(logical->connectors.constFirst());
    if (!main || !main->current) {
        return std::nullopt;
    }
    return WaylandOutput{main->connector, main->modes, main->current};
}

QRect MutterDisplayState::area(const LogicalMonitor &logical, QSize modeSize, double scale) const
{
    // Odd transforms turn the monitor a quarter, with or without flipping it.
    QSize size = logical.transform % 2 == 1 ? modeSize.transposed() : modeSize;
    if (layoutMode == LayoutMode::Logical && scale > 0) {
        size =
            QSize(int(std::lround(size.width() / scale)), int(std::lround(size.height() / scale)));
    }
    return QRect(QPoint(logical.x, logical.y), size);
}

std::optional<QVariantList> MutterDisplayState::applyArguments(QSize size) const
{
    const LogicalMonitor *main = mainLogicalMonitor();
    if (!main) {
        return std::nullopt;
    }

    // Every monitor of the main logical monitor shows the same size, in a mode of its own.
    QHash<QString, QString> newModes;
    QList<double> scales;
    for (qsizetype i = 0; i < main->connectors.size(); ++i) {
        const Monitor *shown = monitor(main->connectors.at(i));
        if (!shown) {
            return std::nullopt;
        }
        const std::optional<WaylandOutputMode> mode =
            WaylandOutput{shown->connector, shown->modes, shown->current}.modeFor(size);
        if (!mode) {
            return std::nullopt;
        }
        newModes.insert(shown->connector, mode->id);
        const QList<double> supported = shown->scales.value(mode->id);
        if (i == 0) {
            scales = supported;
        } else {
            scales.removeIf([&supported](double scale) {
                return std::none_of(supported.cbegin(), supported.cend(),
                                    [scale](double other) { return qFuzzyCompare(scale, other); });
            });
        }
    }
    // The current scale when the new mode supports it, else the nearest one it does.
    double scale = main->scale;
    if (!scales.isEmpty()) {
        const auto nearest = std::min_element(
            scales.cbegin(), scales.cend(), [current = main->scale](double a, double b) {
                const double da = std::abs(a - current);
                const double db = std::abs(b - current);
                return da < db || (qFuzzyCompare(1 + da, 1 + db) && a < b);
            });
        scale = *nearest;
    }

    QList<QRect> areas;
    qsizetype mainIndex = -1;
    for (const LogicalMonitor &logical : logicalMonitors) {
        const Monitor *first =
            logical.connectors.isEmpty() ? nullptr : monitor(logical.connectors.constFirst());
        if (!first || !first->current) {
            return std::nullopt;
        }
        if (&logical == main) {
            mainIndex = areas.size();
        }
        areas.append(area(logical, first->current->size, logical.scale));
    }
    const QSize mainSize = area(*main, size, scale).size();
    const std::optional<QList<QPoint>> corners =
        MutterMonitorLayout::resized(areas, mainIndex, mainSize);
    if (!corners) {
        return std::nullopt;
    }

    QList<LogicalMonitorConfig> configs;
    for (qsizetype i = 0; i < logicalMonitors.size(); ++i) {
        const LogicalMonitor &logical = logicalMonitors.at(i);
        const bool isMain = &logical == main;
        LogicalMonitorConfig config{
            corners->at(i).x(), corners->at(i).y(), isMain ? scale : logical.scale,
            logical.transform,  logical.primary,    {}};
        for (const QString &connector : logical.connectors) {
            const Monitor *shown = monitor(connector);
            if (!shown || !shown->current) {
                return std::nullopt;
            }
            config.monitors.append(
                {connector, isMain ? newModes.value(connector) : shown->current->id, {}});
        }
        configs.append(config);
    }
    // Method 1 is temporary: the compositor does not write the change to the user's settings.
    constexpr uint temporary = 1;
    return QVariantList{serial, temporary, QVariant::fromValue(configs), QVariantMap()};
}

void MutterDisplayState::registerTypes()
{
    qDBusRegisterMetaType<MonitorConfig>();
    qDBusRegisterMetaType<QList<MonitorConfig>>();
    qDBusRegisterMetaType<LogicalMonitorConfig>();
    qDBusRegisterMetaType<QList<LogicalMonitorConfig>>();
}

QDBusArgument &operator<<(QDBusArgument &argument, const MutterDisplayState::MonitorConfig &config)
{
    argument.beginStructure();
    argument << config.connector << config.modeId << config.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument,
                                MutterDisplayState::MonitorConfig &config)
{
    argument.beginStructure();
    argument >> config.connector >> config.modeId >> config.properties;
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument,
                          const MutterDisplayState::LogicalMonitorConfig &config)
{
    argument.beginStructure();
    argument << config.x << config.y << config.scale << config.transform << config.primary
             << config.monitors;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument,
                                MutterDisplayState::LogicalMonitorConfig &config)
{
    argument.beginStructure();
    argument >> config.x >> config.y >> config.scale >> config.transform >> config.primary >>
        config.monitors;
    argument.endStructure();
    return argument;
}

} // namespace platform
