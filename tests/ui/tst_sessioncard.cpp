#include "FakeAccessoryBatteries.h"
#include "FakeMemoryCounters.h"
#include "FakePing.h"
#include "FakeProcessorTicks.h"
#include "ManualClock.h"
#include "QuickDriver.h"
#include "TestEnvironment.h"
#include "TestWindow.h"
#include "sessions/PDFReportGenerator.h"
#include "sessions/SessionLogger.h"
#include "telemetry/SystemMonitor.h"
#include "ui/IconMap.h"
#include "ui/SessionCardController.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QtQuickTest/quicktest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr quint64 GiB = 1024ULL * 1024 * 1024;

class FakeReveal final : public platform::FileReveal {
public:
    QStringList *revealed;
    explicit FakeReveal(QStringList *paths)
        : revealed(paths)
    {
    }
    bool reveal(const QString &path) override
    {
        revealed->append(path);
        return true;
    }
};

} // namespace

// The session card, loaded offscreen with a logger and a monitor on a clock the test moves, and
// a report generator writing into a temporary Desktop folder.
class TestSessionCard : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_home;
    QString m_desktop;
    std::unique_ptr<ManualClock> m_clock;
    std::unique_ptr<SessionLogger> m_logger;
    std::unique_ptr<SystemMonitor> m_monitor;
    std::unique_ptr<PDFReportGenerator> m_generator;
    std::unique_ptr<QQmlEngine> m_engine;
    std::unique_ptr<QQuickWindow> m_window;
    std::unique_ptr<QuickDriver> m_driver;
    QStringList m_revealed;

    void load(const QString &desktop)
    {
        m_generator = std::make_unique<PDFReportGenerator>(
            *m_clock, ReportIcons{[] { return QFont(IconMap::fontFamily()); }, &IconMap::glyph},
            desktop);
        QVERIFY(TestWindow::load(
            m_engine, m_window,
            "Window {\n id: root\n width: 700\n height: 500\n"
            " required property SessionLogger logger\n"
            " required property SystemMonitor monitor\n"
            " required property PDFReportGenerator generator\n"
            " property bool cardShown: true\n"
            " Loader {\n x: 16\n y: 16\n width: 668\n active: root.cardShown\n"
            "  sourceComponent: SessionCard {\n sessionLogger: root.logger\n"
            "   monitor: root.monitor\n reportGenerator: root.generator\n }\n }\n}",
            {{u"logger"_s, QVariant::fromValue(m_logger.get())},
             {u"monitor"_s, QVariant::fromValue(m_monitor.get())},
             {u"generator"_s, QVariant::fromValue(m_generator.get())}}));
        m_driver = std::make_unique<QuickDriver>(m_window.get());
        injectReveal();
    }

    void injectReveal()
    {
        if (SessionCardController *card = controller()) {
            card->setFileReveal(std::make_unique<FakeReveal>(&m_revealed));
        }
    }

    SessionCardController *controller() const
    {
        return m_window->findChild<SessionCardController *>(u"sessionController"_s);
    }

    QString buttonText() const
    {
        QQuickItem *button = m_driver->item(u"toggleButton"_s);
        return button ? button->property("text").toString() : u"<missing>"_s;
    }

    QString status() const
    {
        QQuickItem *text = m_driver->item(u"statusText"_s);
        return text ? text->property("text").toString() : QString();
    }

    QObject *alert() const { return m_window->findChild<QObject *>(u"pdfAlert"_s); }

    bool alertOpen() const { return alert() && alert()->property("opened").toBool(); }

    QQuickItem *inAlert(const QString &name) const
    {
        auto *content = alert() ? alert()->property("contentItem").value<QQuickItem *>() : nullptr;
        return content ? QuickDriver::itemIn(content, name) : nullptr;
    }

    QStringList desktopFiles() const
    {
        return QDir(m_desktop).entryList(QDir::Files | QDir::Hidden);
    }

    void toggle() { m_driver->click(m_driver->item(u"toggleButton"_s)); }

    // Clicks a button of the open alert once its layout has settled (it is centred in the
    // window by a polish pass after it opens).
    bool clickInAlert(const QString &name)
    {
        if (!QQuickTest::qWaitForPolish(m_window.get())) {
            return false;
        }
        QQuickItem *button = inAlert(name);
        if (!button) {
            return false;
        }
        m_driver->click(button);
        return true;
    }

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        m_desktop = m_home->filePath(u"Desktop"_s);
        QVERIFY(QDir().mkpath(m_desktop));
        m_clock = std::make_unique<ManualClock>(QDateTime(QDate(2024, 3, 9), QTime(21, 5, 33)));
        auto processors = std::make_unique<FakeProcessorTicks>();
        processors->next = {platform::ProcessorTicks::Counters{30, 10, 60, 0}};
        auto memory = std::make_unique<FakeMemoryCounters>();
        memory->next = {16 * GiB, 4 * GiB, 2 * GiB, 1 * GiB, 0, 0};
        m_logger =
            std::make_unique<SessionLogger>(*m_clock, std::move(processors), std::move(memory));
        auto monitorMemory = std::make_unique<FakeMemoryCounters>();
        monitorMemory->next = {16 * GiB, 4 * GiB, 2 * GiB, 1 * GiB, 0, 0};
        m_monitor = std::make_unique<SystemMonitor>(*m_clock, std::move(monitorMemory),
                                                    std::make_unique<FakePing>(),
                                                    std::make_unique<FakeAccessoryBatteries>());
        m_revealed.clear();
        load(m_desktop);
    }

    void cleanup()
    {
        m_driver.reset();
        m_window.reset();
        m_engine.reset();
        m_generator.reset();
        m_monitor.reset();
        m_logger.reset();
        m_clock.reset();
        m_home.reset();
    }

    void idleAtFirst()
    {
        QCOMPARE(buttonText(), u"Start"_s);
        QVERIFY(m_driver->text(u"Session Recording"_s));
        QVERIFY(m_driver->text(u"Start recording to track FPS and performance"_s));
        QVERIFY(!m_driver->item(u"recordingRow"_s));
        QVERIFY(!m_driver->item(u"statusText"_s));
        QVERIFY(!alertOpen());
    }

    void startShowsTheRecordingRow()
    {
        toggle();
        QVERIFY(m_logger->isActive());
        QCOMPARE(buttonText(), u"Stop"_s);
        QVERIFY(m_driver->item(u"recordingRow"_s));
        QVERIFY(m_driver->text(u"Recording performance data..."_s));
        QVERIFY(!m_driver->item(u"hintText"_s));
    }

    void stopWithinOneSecondRecordsNothing()
    {
        toggle();
        m_clock->advance(900ms);
        toggle();
        QVERIFY(!m_logger->isActive());
        QVERIFY(!m_logger->loggingTimer());
        QCOMPARE(status(), u"No data recorded"_s);
        QCOMPARE(buttonText(), u"Start"_s);
        QTest::qWait(200);
        QVERIFY(desktopFiles().isEmpty());
        QVERIFY(!alertOpen());
    }

    // A few seconds of recording: the report lands on the Desktop, named after the start, and
    // the alert offers to show it.
    void sessionWritesTheReport()
    {
        toggle();
        m_clock->advance(3s);
        toggle();
        QCOMPARE(m_logger->records().size(), 3);
        QCOMPARE(status(), u"Generating PDF report..."_s);
        QTRY_COMPARE_WITH_TIMEOUT(status(), u"Report saved to Desktop"_s, 30000);
        const QString name = u"Kestrelvanta_Report_2024-03-09_21-05-33.pdf"_s;
        QCOMPARE(desktopFiles(), QStringList{name});
        QVERIFY(QFile(m_desktop + u'/' + name).size() > 1000);
        QCOMPARE(controller()->pdfURL(), QUrl::fromLocalFile(m_desktop + u'/' + name));

        QTRY_VERIFY(alertOpen());
        QCOMPARE(inAlert(u"alertTitle"_s)->property("text").toString(), u"PDF Report Generated"_s);
        QCOMPARE(inAlert(u"alertMessage"_s)->property("text").toString(),
                 u"Report saved to:\n"_s + name);
        QQuickItem *reveal = inAlert(u"revealButton"_s);
        QVERIFY(reveal);
        QCOMPARE(reveal->property("text").toString(), u"Open in Finder"_s);
        QVERIFY(inAlert(u"okButton"_s));

        QVERIFY(clickInAlert(u"revealButton"_s));
        QCOMPARE(m_revealed, QStringList{m_desktop + u'/' + name});
        QTRY_VERIFY(!alertOpen());
        QVERIFY(!controller()->showPDFAlert());
    }

    void okClosesTheAlert()
    {
        toggle();
        m_clock->advance(2s);
        toggle();
        QTRY_VERIFY_WITH_TIMEOUT(alertOpen(), 30000);
        QVERIFY(clickInAlert(u"okButton"_s));
        QTRY_VERIFY(!alertOpen());
        QVERIFY(m_revealed.isEmpty());
        QCOMPARE(status(), u"Report saved to Desktop"_s);
    }

    // Without a file location the alert has no message and no "Open in Finder".
    void noRevealWithoutAFile()
    {
        controller()->setShowPDFAlert(true);
        QTRY_VERIFY(alertOpen());
        QCOMPARE(inAlert(u"alertTitle"_s)->property("text").toString(), u"PDF Report Generated"_s);
        QVERIFY(!inAlert(u"alertMessage"_s));
        QVERIFY(!inAlert(u"revealButton"_s));
        QVERIFY(inAlert(u"okButton"_s));
    }

    // The clock is set back, so the second session starts in the same second as the first:
    // same name, and the later report replaces the earlier one.
    void sameSecondOverwrites()
    {
        const QDateTime start = m_clock->now();
        toggle();
        m_clock->advance(2s);
        toggle();
        QTRY_VERIFY_WITH_TIMEOUT(alertOpen(), 30000);
        QVERIFY(clickInAlert(u"okButton"_s));
        QTRY_VERIFY(!alertOpen());
        const QString path = controller()->pdfURL().toLocalFile();
        const QByteArray first = [&] {
            QFile file(path);
            return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        }();

        m_clock->setNow(start.addMSecs(400));
        toggle();
        m_clock->advance(5s);
        toggle();
        QCOMPARE(status(), u"Generating PDF report..."_s);
        QTRY_COMPARE_WITH_TIMEOUT(status(), u"Report saved to Desktop"_s, 30000);
        QTRY_VERIFY(alertOpen());
        QCOMPARE(controller()->pdfURL().toLocalFile(), path);
        QCOMPARE(desktopFiles().size(), 1);
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll() != first);
    }

    void unwritableDesktopFails()
    {
        // A file where the Desktop folder should be: not writable for anyone, root included.
        const QString blocked = m_home->filePath(u"DesktopFile"_s);
        QFile file(blocked);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        load(blocked);
        toggle();
        m_clock->advance(2s);
        toggle();
        QTRY_COMPARE_WITH_TIMEOUT(status(), u"Failed to generate report"_s, 30000);
        QTest::qWait(100);
        QVERIFY(!alertOpen());
        QVERIFY(controller()->pdfURL().isEmpty());
        QCOMPARE(QFile(blocked).size(), 0);
    }

    // A Desktop folder that is gone: the report fails, and no folder is made for it.
    void missingDesktopFails()
    {
        const QString gone = m_home->filePath(u"Gone/Desktop"_s);
        load(gone);
        toggle();
        m_clock->advance(2s);
        toggle();
        QTRY_COMPARE_WITH_TIMEOUT(status(), u"Failed to generate report"_s, 30000);
        QTest::qWait(100);
        QVERIFY(!alertOpen());
        QVERIFY(controller()->pdfURL().isEmpty());
        QVERIFY(!QFileInfo::exists(m_home->filePath(u"Gone"_s)));
    }

    // With no Desktop folder at all nothing is written and the status stays as it is.
    void noDesktopFolder()
    {
        load(QString());
        toggle();
        m_clock->advance(2s);
        toggle();
        QTest::qWait(300);
        QCOMPARE(status(), u"Generating PDF report..."_s);
        QVERIFY(!alertOpen());
        QCOMPARE(buttonText(), u"Start"_s);
    }

    // A rebuilt card shows idle while the logger keeps recording; its Start begins a new
    // session.
    void rebuiltCardStartsOver()
    {
        toggle();
        m_clock->advance(3s);
        m_window->setProperty("cardShown", false);
        m_window->setProperty("cardShown", true);
        QTRY_VERIFY(m_driver->item(u"toggleButton"_s));
        injectReveal();
        QCOMPARE(buttonText(), u"Start"_s);
        QVERIFY(m_logger->isActive());
        m_clock->advance(1s);
        QCOMPARE(m_logger->records().size(), 4);
        toggle();
        QVERIFY(m_logger->records().isEmpty());
        QCOMPARE(buttonText(), u"Stop"_s);
    }
};

KV_TEST_MAIN(TestSessionCard)
#include "tst_sessioncard.moc"
