#include "MutterDisplayResolution.h"

#include "MutterDisplayState.h"

#include <QCoro/QCoroDBusPendingCall>
#include <QDBusMessage>
#include <QDBusPendingCall>

namespace platform {

namespace {

constexpr int queryTimeoutMs = 5000;
constexpr int applyTimeoutMs = 10000;

QDBusMessage displayConfigCall(const QString &method)
{
    const QString service = QStringLiteral("org.gnome.Mutter.DisplayConfig");
    return QDBusMessage::createMethodCall(
        service, QStringLiteral("/org/gnome/Mutter/DisplayConfig"), service, method);
}

QDBusMessage stateCall()
{
    return displayConfigCall(QStringLiteral("GetCurrentState"));
}

} // namespace

MutterDisplayResolution::MutterDisplayResolution(QDBusConnection bus)
    : m_bus(std::move(bus))
{
    MutterDisplayState::registerTypes();
}

QCoro::Task<DisplayResolution::Query> MutterDisplayResolution::current()
{
    // The frame keeps its own handle: the object may be gone by the time a reply arrives.
    const QDBusConnection bus = m_bus;
    Query query;
    const QDBusMessage reply = co_await bus.asyncCall(stateCall(), queryTimeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage) {
        query.error = reply.errorMessage().isEmpty()
                          ? QStringLiteral("GNOME's display configuration did not answer")
                          : reply.errorMessage();
        co_return query;
    }
    const std::optional<MutterDisplayState> state = MutterDisplayState::parse(reply);
    if (!state) {
        query.error = QStringLiteral("GNOME's display configuration could not be read");
        co_return query;
    }
    if (const std::optional<WaylandOutput> output = state->mainOutput()) {
        query.size = output->current->size;
    }
    co_return query;
}

QCoro::Task<bool> MutterDisplayResolution::change(QSize size)
{
    if (size.isEmpty()) {
        co_return false;
    }
    const QDBusConnection bus = m_bus;
    const QDBusMessage before = co_await bus.asyncCall(stateCall(), queryTimeoutMs);
    const std::optional<MutterDisplayState> state = MutterDisplayState::parse(before);
    const std::optional<WaylandOutput> output =
        state ? state->mainOutput() : std::optional<WaylandOutput>();
    if (!output) {
        co_return false;
    }
    // A size the monitor does not offer is refused here rather than left to the compositor.
    if (!output->modeFor(size)) {
        co_return false;
    }
    const std::optional<QVariantList> arguments = state->applyArguments(size);
    if (!arguments) {
        co_return false;
    }
    QDBusMessage apply = displayConfigCall(QStringLiteral("ApplyMonitorsConfig"));
    apply.setArguments(*arguments);
    const QDBusMessage applied = co_await bus.asyncCall(apply, applyTimeoutMs);
    if (applied.type() != QDBusMessage::ReplyMessage) {
        co_return false;
    }
    // Only the state read back counts: the reply says the request was taken, not what shows.
    const QDBusMessage after = co_await bus.asyncCall(stateCall(), queryTimeoutMs);
    const std::optional<MutterDisplayState> now = MutterDisplayState::parse(after);
    const std::optional<WaylandOutput> shown =
        now ? now->mainOutput() : std::optional<WaylandOutput>();
    // The same monitor: one unplugged meanwhile may leave another main that shows the size.
    co_return shown && shown->name == output->name && shown->current->size == size;
}

} // namespace platform
