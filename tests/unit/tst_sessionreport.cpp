#include "TestEnvironment.h"
#include "sessions/SessionReportView.h"
#include "ui/IconMap.h"

#include <QGuiApplication>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QDateTime start = QDateTime(QDate(2024, 3, 9), QTime(21, 5, 33));

SessionReportView viewWith(int count, double cpu, double ram)
{
    SessionReportView view;
    view.startTime = start;
    view.endTime = start.addSecs(count);
    for (int i = 0; i < count; ++i) {
        SessionRecord record;
        record.time = start.addSecs(i + 1);
        record.cpu = cpu;
        record.ramPercent = ram;
        view.records.append(record);
    }
    return view;
}

const QString highCPU = u"High CPU usage detected. Consider closing background applications."_s;
const QString highRAM = u"High memory usage. Try purging RAM or closing unused apps."_s;
const QString optimal = u"System performance is optimal for gaming."_s;
const QString hud = u"Enable Metal HUD to monitor real-time FPS during games."_s;
const QString boost = u"Use Quick Boost before gaming sessions for better performance."_s;

} // namespace

// The report's figures: its duration, metrics, advice, file name and dates.
class TestSessionReport : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void duration_data()
    {
        QTest::addColumn<qint64>("milliseconds");
        QTest::addColumn<QString>("text");
        QTest::newRow("nothing") << qint64(0) << u"0s"_s;
        QTest::newRow("42 s") << qint64(42'000) << u"42s"_s;
        QTest::newRow("59 s") << qint64(59'000) << u"59s"_s;
        QTest::newRow("59.999 s is truncated") << qint64(59'999) << u"59s"_s;
        QTest::newRow("60 s") << qint64(60'000) << u"1m 0s"_s;
        QTest::newRow("61 s") << qint64(61'000) << u"1m 1s"_s;
        QTest::newRow("12 min 5 s") << qint64(725'000) << u"12m 5s"_s;
        QTest::newRow("3,599 s") << qint64(3'599'000) << u"59m 59s"_s;
        QTest::newRow("3,600 s") << qint64(3'600'000) << u"1h 0m"_s;
        QTest::newRow("3,660 s") << qint64(3'660'000) << u"1h 1m"_s;
        QTest::newRow("2 h 7 min 59 s") << qint64(7'679'000) << u"2h 7m"_s;
        QTest::newRow("36,000 s") << qint64(36'000'000) << u"10h 0m"_s;
    }

    void duration()
    {
        QFETCH(qint64, milliseconds);
        QFETCH(QString, text);
        SessionReportView view;
        view.startTime = start;
        view.endTime = start.addMSecs(milliseconds);
        QCOMPARE(view.formatDuration(), text);
    }

    void recommendations_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<double>("cpu");
        QTest::addColumn<double>("ram");
        QTest::addColumn<QStringList>("lines");
        QTest::newRow("busy processor") << 10 << 85.0 << 40.0 << QStringList{highCPU, hud, boost};
        QTest::newRow("idle machine") << 10 << 30.0 << 30.0 << QStringList{optimal, hud, boost};
        QTest::newRow("full memory") << 10 << 60.0 << 90.0 << QStringList{highRAM, hud, boost};
        QTest::newRow("both high")
            << 10 << 81.0 << 81.0 << QStringList{highCPU, highRAM, hud, boost};
        QTest::newRow("exactly 80") << 10 << 80.0 << 80.0 << QStringList{hud, boost};
        QTest::newRow("exactly 50") << 10 << 50.0 << 50.0 << QStringList{hud, boost};
        QTest::newRow("busy, little memory")
            << 10 << 90.0 << 30.0 << QStringList{highCPU, hud, boost};
        QTest::newRow("no records") << 0 << 0.0 << 0.0 << QStringList{hud, boost};
    }

    void recommendations()
    {
        QFETCH(int, count);
        QFETCH(double, cpu);
        QFETCH(double, ram);
        QFETCH(QStringList, lines);
        QCOMPARE(viewWith(count, cpu, ram).generateRecommendations(), lines);
    }

    // The advice follows the means, not single samples.
    void recommendationsFollowTheMeans()
    {
        SessionReportView view = viewWith(2, 0, 0);
        view.records[0].cpu = 100;
        view.records[1].cpu = 62; // mean 81
        view.records[0].ramPercent = 10;
        view.records[1].ramPercent = 20;
        QCOMPARE(view.generateRecommendations(), (QStringList{highCPU, hud, boost}));
    }

    void metrics()
    {
        SessionReportView view = viewWith(4, 0, 0);
        const std::array cpu{10.0, 40.0, 25.0, 5.0};
        const std::array ram{50.0, 52.0, 61.5, 48.5};
        for (std::size_t i = 0; i < cpu.size(); ++i) {
            view.records[qsizetype(i)].cpu = cpu.at(i);
            view.records[qsizetype(i)].ramPercent = ram.at(i);
        }
        const SessionReportView::Metrics figures = view.metrics();
        QCOMPARE(figures.averageCPU, 20.0);
        QCOMPARE(figures.peakCPU, 40.0);
        QCOMPARE(figures.averageRAM, 53.0);
        QCOMPARE(figures.peakRAM, 61.5);

        const SessionReportView::Metrics none = SessionReportView().metrics();
        QCOMPARE(none.averageCPU, 0.0);
        QCOMPARE(none.peakRAM, 0.0);
    }

    void fileNameUsesTheStartTime()
    {
        QCOMPARE(SessionReportView::fileName(start),
                 u"Kestrelvanta_Report_2024-03-09_21-05-33.pdf"_s);
        QCOMPARE(SessionReportView::fileName(QDateTime(QDate(2025, 12, 31), QTime(0, 0, 7, 999))),
                 u"Kestrelvanta_Report_2025-12-31_00-00-07.pdf"_s);
    }

    void datesInTheLocalesStyles()
    {
        const QLocale american(QLocale::English, QLocale::UnitedStates);
        QCOMPARE(SessionReportView::mediumDateShortTime(start, american),
                 u"Mar 9, 2024, 9:05 PM"_s);
        QCOMPARE(SessionReportView::longDateShortTime(start, american),
                 u"March 9, 2024, 9:05 PM"_s);
        const QLocale german(QLocale::German, QLocale::Germany);
        QCOMPARE(SessionReportView::longDateShortTime(start, german), u"9. März 2024, 21:05"_s);
        QCOMPARE(SessionReportView::mediumDateShortTime(start, german), u"9. März 2024, 21:05"_s);
    }

    // Every symbol the page draws has a glyph in the icon set.
    void everySymbolHasAGlyph()
    {
        QVERIFY(!SessionReportView::symbols.isEmpty());
        for (const QString &symbol : SessionReportView::symbols) {
            QVERIFY2(IconMap::glyph(symbol).size() == 1, qPrintable(symbol));
        }
    }
};

KV_TEST_MAIN(TestSessionReport)
#include "tst_sessionreport.moc"
