#include "MutterDisplayState.h"

#include <QDBusMetaType>

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

std::optional<QVariantList> MutterDisplayState::applyArguments(const QString &modeId) const
{
    const LogicalMonitor *main = mainLogicalMonitor();
    if (!main) {
        return std::nullopt;
    }
    QList<LogicalMonitorConfig> configs;
    for (const LogicalMonitor &logical : logicalMonitors) {
        LogicalMonitorConfig config{logical.x,         logical.y,       logical.scale,
                                    logical.transform, logical.primary, {}};
        for (const QString &connector : logical.connectors) {
            const bool isMain = &logical == main && connector == main->connectors.constFirst();
            const Monitor *shown = monitor(connector);
            if (!shown || !shown->current) {
                return std::nullopt;
            }
            config.monitors.append({connector, isMain ? modeId : shown->current->id, {}});
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
