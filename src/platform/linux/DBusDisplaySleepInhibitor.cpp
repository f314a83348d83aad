#include "DBusDisplaySleepInhibitor.h"

#include "WaylandIdleInhibitor.h"
#include "XdgScreensaverInhibitor.h"

#include <QCoro/QCoroDBusPendingCall>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QVariantMap>

#include <utility>

namespace platform {

namespace {

// The portal's and the session manager's flag for "do not let the session go idle".
constexpr uint idleFlag = 8;

QDBusMessage call(const QString &service, const QString &path, const QString &interface,
                  const QString &method, const QVariantList &arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    return message;
}

} // namespace

std::unique_ptr<DisplaySleepInhibitor> DisplaySleepInhibitor::create(ToolRunner &runner)
{
    std::unique_ptr<DisplaySleepInhibitor> lastResort;
    if (WaylandIdleInhibitor::runsNatively()) {
        // The window's own surface: X11's last resort would name a window the compositor does
        // not show.
        lastResort = std::make_unique<WaylandIdleInhibitor>();
    } else if (!qEnvironmentVariableIsEmpty("DISPLAY")) {
        lastResort = std::make_unique<XdgScreensaverInhibitor>(runner, QByteArray());
    }
    return std::make_unique<DBusDisplaySleepInhibitor>(QDBusConnection::sessionBus(),
                                                       std::move(lastResort));
}

DBusDisplaySleepInhibitor::DBusDisplaySleepInhibitor(
    QDBusConnection bus, std::unique_ptr<DisplaySleepInhibitor> lastResort)
    : m_bus(std::move(bus))
    , m_lastResort(std::move(lastResort))
{
}

QCoro::Task<QString> DBusDisplaySleepInhibitor::inhibit()
{
    if (isHeld()) {
        co_return QString();
    }
    if (m_asking) {
        // The answer on its way is wanted after all.
        m_releaseWhenHeld = false;
        co_return QString();
    }
    m_asking = true;
    m_releaseWhenHeld = false;
    QString failure = co_await inhibitOnBus();
    if (!failure.isEmpty() && m_lastResort) {
        const QString lastFailure = co_await m_lastResort->inhibit();
        if (lastFailure.isEmpty()) {
            m_held = Held::LastResort;
            failure.clear();
        } else {
            failure += QStringLiteral("; ");
            failure += lastFailure;
        }
    }
    m_asking = false;
    // Switched off while the desktop had not answered yet: what the answer holds goes back at
    // once rather than keeping the display awake with nothing to end it.
    if (std::exchange(m_releaseWhenHeld, false) && isHeld()) {
        co_await release();
    }
    co_return failure;
}

QCoro::Task<QString> DBusDisplaySleepInhibitor::inhibitOnBus()
{
    if (!m_bus.isConnected()) {
        co_return QStringLiteral("no session bus");
    }

    // Messages are built before each await: a temporary that lives across one is kept in the
    // coroutine's frame, and GCC 12 cannot keep QStringLiteral's array there.
    const QDBusMessage portalCall =
        call(QStringLiteral("org.freedesktop.portal.Desktop"),
             QStringLiteral("/org/freedesktop/portal/desktop"),
             QStringLiteral("org.freedesktop.portal.Inhibit"), QStringLiteral("Inhibit"),
             {QString(), idleFlag, QVariantMap{{QStringLiteral("reason"), reason}}});
    const QDBusMessage portal = co_await m_bus.asyncCall(portalCall);
    if (portal.type() == QDBusMessage::ReplyMessage && !portal.arguments().isEmpty()) {
        m_request = portal.arguments().constFirst().value<QDBusObjectPath>();
        m_held = Held::PortalRequest;
        co_return QString();
    }

    const QDBusMessage screenSaverCall = call(QStringLiteral("org.freedesktop.ScreenSaver"),
                                              QStringLiteral("/org/freedesktop/ScreenSaver"),
                                              QStringLiteral("org.freedesktop.ScreenSaver"),
                                              QStringLiteral("Inhibit"), {applicationName, reason});
    const QDBusMessage screenSaver = co_await m_bus.asyncCall(screenSaverCall);
    if (screenSaver.type() == QDBusMessage::ReplyMessage && !screenSaver.arguments().isEmpty()) {
        m_cookie = screenSaver.arguments().constFirst().toUInt();
        m_held = Held::ScreenSaverCookie;
        co_return QString();
    }

    const QDBusMessage sessionCall = call(
        QStringLiteral("org.gnome.SessionManager"), QStringLiteral("/org/gnome/SessionManager"),
        QStringLiteral("org.gnome.SessionManager"), QStringLiteral("Inhibit"),
        {applicationName, 0U, reason, idleFlag});
    const QDBusMessage session = co_await m_bus.asyncCall(sessionCall);
    if (session.type() == QDBusMessage::ReplyMessage && !session.arguments().isEmpty()) {
        m_cookie = session.arguments().constFirst().toUInt();
        m_held = Held::SessionManagerCookie;
        co_return QString();
    }
    QString failure = QStringLiteral("no idle inhibition service answered (");
    failure += screenSaver.errorMessage();
    failure += u')';
    co_return failure;
}

QCoro::Task<> DBusDisplaySleepInhibitor::release()
{
    if (m_asking && m_held == Held::Nothing) {
        m_releaseWhenHeld = true;
        co_return;
    }
    const Held held = std::exchange(m_held, Held::Nothing);
    QDBusMessage message;
    switch (held) {
    case Held::Nothing:
        co_return;
    case Held::LastResort:
        co_await m_lastResort->release();
        co_return;
    case Held::PortalRequest:
        message =
            call(QStringLiteral("org.freedesktop.portal.Desktop"), m_request.path(),
                 QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Close"), {});
        break;
    case Held::ScreenSaverCookie:
        message = call(QStringLiteral("org.freedesktop.ScreenSaver"),
                       QStringLiteral("/org/freedesktop/ScreenSaver"),
                       QStringLiteral("org.freedesktop.ScreenSaver"), QStringLiteral("UnInhibit"),
                       {m_cookie});
        break;
    case Held::SessionManagerCookie:
        message = call(
            QStringLiteral("org.gnome.SessionManager"), QStringLiteral("/org/gnome/SessionManager"),
            QStringLiteral("org.gnome.SessionManager"), QStringLiteral("Uninhibit"), {m_cookie});
        break;
    }
    co_await m_bus.asyncCall(message);
}

} // namespace platform
