#include "FakeDisplaySleepInhibitor.h"
#include "platform/linux/DBusDisplaySleepInhibitor.h"
#include "platform/linux/WaylandIdleInhibitor.h"

#include <QCoreApplication>
#include <QCoro/QCoroTask>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QProcess>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// The screen saver service a desktop offers, reduced to the two calls the inhibitor makes.
class FakeScreenSaver : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.ScreenSaver")

public:
    QStringList inhibited;
    QList<uint> released;

public Q_SLOTS:
    uint Inhibit(const QString &application, const QString &reason)
    {
        inhibited.append(application + u": "_s + reason);
        return 4242;
    }
    void UnInhibit(uint cookie) { released.append(cookie); }
};

// A screen saver service that answers an inhibition only when the test says so, as a desktop
// busy starting up does.
class LateScreenSaver : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.ScreenSaver")

public:
    QList<uint> released;
    bool asked = false;

    void answer(uint cookie) { m_connection.send(m_request.createReply(cookie)); }

public Q_SLOTS:
    uint Inhibit(const QString &, const QString &)
    {
        asked = true;
        setDelayedReply(true);
        m_request = message();
        m_connection = connection();
        return 0;
    }
    void UnInhibit(uint cookie) { released.append(cookie); }

private:
    QDBusMessage m_request;
    QDBusConnection m_connection{QString()};
};

// GNOME's session manager, the last service tried.
class FakeSessionManager : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.gnome.SessionManager")

public:
    QList<uint> flags;
    QList<uint> released;

public Q_SLOTS:
    uint Inhibit(const QString &, uint, const QString &, uint flag)
    {
        flags.append(flag);
        return 77;
    }
    void Uninhibit(uint cookie) { released.append(cookie); }
};

} // namespace

/// Keeping the display awake against fake desktop services on a private session bus.
class TestDisplaySleepInhibitor : public QObject {
    Q_OBJECT

private:
    QProcess m_bus;
    QString m_address;

    QDBusConnection service() const
    {
        return QDBusConnection::connectToBus(m_address, u"service"_s);
    }
    QDBusConnection client() const { return QDBusConnection::connectToBus(m_address, u"client"_s); }

private Q_SLOTS:
    void initTestCase()
    {
        // A private bus: the desktop's own screen saver is never asked.
        m_bus.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address=1"_s});
        if (!m_bus.waitForStarted(5000)) {
            QSKIP("dbus-daemon is not installed");
        }
        QVERIFY(m_bus.waitForReadyRead(5000));
        m_address = QString::fromUtf8(m_bus.readLine()).trimmed();
        QVERIFY(service().isConnected());
    }

    void cleanupTestCase()
    {
        QDBusConnection::disconnectFromBus(u"service"_s);
        QDBusConnection::disconnectFromBus(u"client"_s);
        m_bus.kill();
        m_bus.waitForFinished();
    }

    void noServiceGivesAReason()
    {
        platform::DBusDisplaySleepInhibitor inhibitor(client());
        const QString reason = QCoro::waitFor(inhibitor.inhibit());
        QVERIFY(reason.startsWith(u"no idle inhibition service answered"_s));
        QVERIFY(!inhibitor.isHeld());
        QCoro::waitFor(inhibitor.release());
    }

    // The window's surface is the Wayland last resort: off Wayland there is none to use.
    void theWaylandLastResortNeedsAWaylandWindow()
    {
        platform::WaylandIdleInhibitor inhibitor;
        QCOMPARE(QCoro::waitFor(inhibitor.inhibit()), u"no Wayland connection"_s);
        QVERIFY(!inhibitor.isHeld());
        QCoro::waitFor(inhibitor.release());
        QVERIFY(!inhibitor.isHeld());
    }

    void noBusGivesAReason()
    {
        platform::DBusDisplaySleepInhibitor inhibitor(
            QDBusConnection::connectToBus(u"unix:path=/nonexistent/bus"_s, u"nowhere"_s));
        QCOMPARE(QCoro::waitFor(inhibitor.inhibit()), u"no session bus"_s);
        QVERIFY(!inhibitor.isHeld());
    }

    void theLastResortHoldsWhenNoServiceAnswers()
    {
        auto fallback = std::make_unique<FakeDisplaySleepInhibitor>();
        FakeDisplaySleepInhibitor *last = fallback.get();
        platform::DBusDisplaySleepInhibitor inhibitor(client(), std::move(fallback));
        QCOMPARE(QCoro::waitFor(inhibitor.inhibit()), QString());
        QVERIFY(inhibitor.isHeld());
        QCOMPARE(last->inhibits, 1);
        QCoro::waitFor(inhibitor.release());
        QVERIFY(!inhibitor.isHeld());
        QCOMPARE(last->releases, 1);
    }

    void theLastResortAlsoServesWithoutABus()
    {
        auto fallback = std::make_unique<FakeDisplaySleepInhibitor>();
        FakeDisplaySleepInhibitor *last = fallback.get();
        platform::DBusDisplaySleepInhibitor inhibitor(
            QDBusConnection::connectToBus(u"unix:path=/nonexistent/bus"_s, u"nowhere"_s),
            std::move(fallback));
        QCOMPARE(QCoro::waitFor(inhibitor.inhibit()), QString());
        QVERIFY(last->held);
    }

    void bothReasonsWhenTheLastResortFails()
    {
        auto fallback = std::make_unique<FakeDisplaySleepInhibitor>();
        fallback->refusal = u"xdg-screensaver is not installed"_s;
        platform::DBusDisplaySleepInhibitor inhibitor(client(), std::move(fallback));
        const QString reason = QCoro::waitFor(inhibitor.inhibit());
        QVERIFY2(reason.startsWith(u"no idle inhibition service answered"_s), qPrintable(reason));
        QVERIFY2(reason.endsWith(u"; xdg-screensaver is not installed"_s), qPrintable(reason));
        QVERIFY(!inhibitor.isHeld());
    }

    void aServiceComesBeforeTheLastResort()
    {
        FakeScreenSaver screenSaver;
        QVERIFY(service().registerObject(u"/org/freedesktop/ScreenSaver"_s, &screenSaver,
                                         QDBusConnection::ExportAllSlots));
        QVERIFY(service().registerService(u"org.freedesktop.ScreenSaver"_s));
        auto fallback = std::make_unique<FakeDisplaySleepInhibitor>();
        FakeDisplaySleepInhibitor *last = fallback.get();
        platform::DBusDisplaySleepInhibitor inhibitor(client(), std::move(fallback));
        QCOMPARE(QCoro::waitFor(inhibitor.inhibit()), QString());
        QCOMPARE(last->inhibits, 0);
        QCoro::waitFor(inhibitor.release());
        QCOMPARE(last->releases, 0);
        QTRY_COMPARE(screenSaver.released, QList<uint>{4242});
        QVERIFY(service().unregisterService(u"org.freedesktop.ScreenSaver"_s));
        service().unregisterObject(u"/org/freedesktop/ScreenSaver"_s);
    }

    void screenSaverHoldsAndReleasesItsCookie()
    {
        FakeScreenSaver screenSaver;
        QVERIFY(service().registerObject(u"/org/freedesktop/ScreenSaver"_s, &screenSaver,
                                         QDBusConnection::ExportAllSlots));
        QVERIFY(service().registerService(u"org.freedesktop.ScreenSaver"_s));
        platform::DBusDisplaySleepInhibitor inhibitor(client());
        QCOMPARE(QCoro::waitFor(inhibitor.inhibit()), QString());
        QVERIFY(inhibitor.isHeld());
        QCOMPARE(screenSaver.inhibited,
                 QStringList{u"Kestrelvanta: Game Mode keeps the display awake"_s});
        // Held already: no second inhibition.
        QCOMPARE(QCoro::waitFor(inhibitor.inhibit()), QString());
        QCOMPARE(screenSaver.inhibited.size(), 1);
        QCoro::waitFor(inhibitor.release());
        QVERIFY(!inhibitor.isHeld());
        QTRY_COMPARE(screenSaver.released, QList<uint>{4242});
        QVERIFY(service().unregisterService(u"org.freedesktop.ScreenSaver"_s));
        service().unregisterObject(u"/org/freedesktop/ScreenSaver"_s);
    }

    void releasedBeforeTheServiceAnswers()
    {
        LateScreenSaver screenSaver;
        QVERIFY(service().registerObject(u"/org/freedesktop/ScreenSaver"_s, &screenSaver,
                                         QDBusConnection::ExportAllSlots));
        QVERIFY(service().registerService(u"org.freedesktop.ScreenSaver"_s));
        platform::DBusDisplaySleepInhibitor inhibitor(client());
        QCoro::Task<QString> asking = inhibitor.inhibit();
        QTRY_VERIFY(screenSaver.asked);

        // Switched off before the cookie arrives: nothing to give back yet.
        QCoro::waitFor(inhibitor.release());
        QVERIFY(!inhibitor.isHeld());
        QVERIFY(screenSaver.released.isEmpty());

        // The cookie the late answer brings is given back at once.
        screenSaver.answer(4343);
        QCOMPARE(QCoro::waitFor(std::move(asking)), QString());
        QVERIFY(!inhibitor.isHeld());
        QTRY_COMPARE(screenSaver.released, QList<uint>{4343});

        // A later request is a new one, held until released.
        screenSaver.asked = false;
        QCoro::Task<QString> again = inhibitor.inhibit();
        QTRY_VERIFY(screenSaver.asked);
        screenSaver.answer(4344);
        QCOMPARE(QCoro::waitFor(std::move(again)), QString());
        QVERIFY(inhibitor.isHeld());
        QCoro::waitFor(inhibitor.release());
        QTRY_COMPARE(screenSaver.released, (QList<uint>{4343, 4344}));
        QVERIFY(service().unregisterService(u"org.freedesktop.ScreenSaver"_s));
        service().unregisterObject(u"/org/freedesktop/ScreenSaver"_s);
    }

    void gnomeSessionManagerLast()
    {
        FakeSessionManager session;
        QVERIFY(service().registerObject(u"/org/gnome/SessionManager"_s, &session,
                                         QDBusConnection::ExportAllSlots));
        QVERIFY(service().registerService(u"org.gnome.SessionManager"_s));
        platform::DBusDisplaySleepInhibitor inhibitor(client());
        QCOMPARE(QCoro::waitFor(inhibitor.inhibit()), QString());
        QCOMPARE(session.flags, QList<uint>{8});
        QCoro::waitFor(inhibitor.release());
        QTRY_COMPARE(session.released, QList<uint>{77});
        QVERIFY(service().unregisterService(u"org.gnome.SessionManager"_s));
    }
};

QTEST_GUILESS_MAIN(TestDisplaySleepInhibitor)
#include "tst_displaysleepinhibitor.moc"
