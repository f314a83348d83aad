#include "ManualClock.h"
#include "PrivateMounts.h"
#include "TestEnvironment.h"
#include "sessions/PDFReportGenerator.h"
#include "ui/IconMap.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <sys/mount.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QDateTime start = QDateTime(QDate(2024, 3, 9), QTime(21, 5, 33));
const QDateTime generatedAt = QDateTime(QDate(2024, 3, 10), QTime(8, 0));

ReportIcons icons()
{
    return ReportIcons{[] { return QFont(IconMap::fontFamily()); }, &IconMap::glyph};
}

// count records, one a second, whose processor load climbs from 10 % and memory from 40 %.
SessionReportView sessionOf(int count)
{
    SessionReportView view;
    view.startTime = start;
    view.endTime = start.addSecs(count);
    view.ramStats = RAMStats{15.364635467529297,
                             9.523746490478516,
                             5.840888977050781,
                             61.98485158079691,
                             7.74810791015625,
                             0.7131385803222656,
                             1.0625};
    view.records.reserve(count);
    for (int i = 0; i < count; ++i) {
        SessionRecord record;
        record.id = QUuid::createUuid();
        record.time = start.addSecs(i + 1);
        record.cpu = 10 + (i % 10);
        record.ramPercent = 40 + (i % 5);
        view.records.append(record);
    }
    return view;
}

struct Run {
    int exitCode = -1;
    QString output;
};

Run run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(60000)) {
        return {};
    }
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput())};
}

} // namespace

// The report's PDF as tools written elsewhere read it: page size and count, text, raster images
// and structure.
class TestPdfReport : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    PrivateMounts m_mounts;

    QString textOf(const QString &path)
    {
        const Run text = run(u"pdftotext"_s, {u"-enc"_s, u"UTF-8"_s, path, u"-"_s});
        return text.exitCode == 0 ? text.output : QString();
    }

    // Each needle appears in the text after the one before it.
    static bool inOrder(const QString &text, const QStringList &needles, QString *missing)
    {
        qsizetype from = 0;
        for (const QString &needle : needles) {
            const qsizetype at = text.indexOf(needle, from);
            if (at < 0) {
                *missing = needle;
                return false;
            }
            from = at + needle.size();
        }
        return true;
    }

private Q_SLOTS:
    void initTestCase()
    {
        for (const QString &tool :
             {u"pdfinfo"_s, u"pdftotext"_s, u"pdfimages"_s, u"pdffonts"_s, u"qpdf"_s}) {
            QVERIFY2(!QStandardPaths::findExecutable(tool).isEmpty(),
                     qPrintable(tool + u" is a test package (tools/packages.sh)"_s));
        }
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    }

    void cleanupTestCase() { m_mounts.unmountAll(); }

    void onePageOfVectorsWithEveryText_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("duration");
        QTest::addColumn<QStringList>("metrics");
        QTest::newRow("0 records") << 0 << u"0s"_s << QStringList();
        // One sample at 10 % and 40 %.
        QTest::newRow("1 record") << 1 << u"1s"_s
                                  << QStringList{u"10.0%"_s, u"10.0%"_s, u"40.0%"_s, u"40.0%"_s};
        // 59 samples: loads 10…19 repeating (five full rounds and 10…18): mean 14.4237…;
        // memory 40…44 repeating (11 rounds and 40…43): mean 41.9661….
        QTest::newRow("59 records")
            << 59 << u"59s"_s << QStringList{u"14.4%"_s, u"19.0%"_s, u"42.0%"_s, u"44.0%"_s};
        // 61 samples: mean load (6 × 145 + 10) / 61 = 14.426…, memory (12 × 210 + 40) / 61.
        QTest::newRow("61 records")
            << 61 << u"1m 1s"_s << QStringList{u"14.4%"_s, u"19.0%"_s, u"42.0%"_s, u"44.0%"_s};
        QTest::newRow("3,600 records")
            << 3600 << u"1h 0m"_s << QStringList{u"14.5%"_s, u"19.0%"_s, u"42.0%"_s, u"44.0%"_s};
        QTest::newRow("36,000 records")
            << 36000 << u"10h 0m"_s << QStringList{u"14.5%"_s, u"19.0%"_s, u"42.0%"_s, u"44.0%"_s};
    }

    void onePageOfVectorsWithEveryText()
    {
        QFETCH(int, count);
        QFETCH(QString, duration);
        QFETCH(QStringList, metrics);
        const QString path = m_folder.filePath(u"report-%1.pdf"_s.arg(count));
        QVERIFY(PDFReportGenerator::writePdfFile(sessionOf(count), path, icons(), generatedAt));

        const Run info = run(u"pdfinfo"_s, {u"-box"_s, path});
        QCOMPARE(info.exitCode, 0);
        QVERIFY2(info.output.contains(QRegularExpression(u"\\nPages: +1\\n"_s)),
                 qPrintable(info.output));
        QVERIFY2(info.output.contains(QRegularExpression(u"Page size: +612 x 792 pts"_s)),
                 qPrintable(info.output));
        QVERIFY2(info.output.contains(
                     QRegularExpression(u"MediaBox: +0\\.00 +0\\.00 +612\\.00 +792\\.00"_s)),
                 qPrintable(info.output));

        // No page image, nor any other raster: the listing holds its two header lines only.
        const Run images = run(u"pdfimages"_s, {u"-list"_s, path});
        QCOMPARE(images.exitCode, 0);
        QCOMPARE(images.output.trimmed().split(u'\n').size(), 2);

        const Run check = run(u"qpdf"_s, {u"--check"_s, path});
        QVERIFY2(check.exitCode == 0, qPrintable(check.output));

        // The text is real text in embedded fonts.
        const Run fonts = run(u"pdffonts"_s, {path});
        QCOMPARE(fonts.exitCode, 0);
        const QStringList fontLines = fonts.output.trimmed().split(u'\n').mid(2);
        QVERIFY(!fontLines.isEmpty());
        for (const QString &line : fontLines) {
            QVERIFY2(line.contains(QRegularExpression(u" yes +(yes|no) +(yes|no) +\\d+ +\\d+$"_s)),
                     qPrintable(line));
        }

        const QString text = textOf(path);
        QString missing;
        // The sections, top to bottom.
        QStringList sections{u"KESTRELVANTA"_s,
                             u"Performance Analysis Report"_s,
                             u"Session Summary"_s,
                             u"System Statistics"_s,
                             u"Performance Metrics"_s,
                             u"Recommendations"_s,
                             u"Generated by Kestrelvanta on March 10, 2024, 8:00 AM"_s,
                             u"https://kestrelvanta.app"_s};
        QVERIFY2(inOrder(text, sections, &missing), qPrintable(missing + u"\n---\n"_s + text));
        // The summary's three items and the four memory boxes, each title before its value.
        for (const QStringList &row :
             {QStringList{u"Duration"_s, u"Records"_s, u"Date"_s},
              QStringList{duration, QString::number(count), u"Mar 9, 2024, 9:05 PM"_s},
              QStringList{u"Total RAM"_s, u"Used RAM"_s, u"Available"_s, u"Usage"_s},
              QStringList{u"15.4 GB"_s, u"9.5 GB"_s, u"5.8 GB"_s, u"62.0%"_s}}) {
            QVERIFY2(inOrder(text, row, &missing), qPrintable(missing + u"\n---\n"_s + text));
        }
        QStringList expected{u"Performance Metrics"_s};
        if (metrics.isEmpty()) {
            expected << u"No performance data recorded"_s;
        } else {
            expected << u"Average CPU Usage"_s << metrics.at(0) << u"Peak CPU Usage"_s
                     << metrics.at(1) << u"Average RAM Usage"_s << metrics.at(2)
                     << u"Peak RAM Usage"_s << metrics.at(3);
        }
        expected << u"Recommendations"_s;
        if (count > 0) {
            expected << u"System performance is optimal for gaming."_s;
        }
        expected << u"Enable Metal HUD to monitor real-time FPS during games."_s
                 << u"Use Quick Boost before gaming sessions for better performance."_s
                 << u"Generated by Kestrelvanta on"_s;
        QVERIFY2(inOrder(text, expected, &missing), qPrintable(missing + u"\n---\n"_s + text));
        QCOMPARE(text.count(u"Usage"_s), metrics.isEmpty() ? 1 : 5);
        QVERIFY(!text.contains(u"No performance data recorded"_s) || count == 0);
        // The symbols are outlines, not characters of the text.
        for (const QChar c : text) {
            QVERIFY2(c.unicode() < 0xe000 || c.unicode() > 0xf8ff, "a symbol leaked into the text");
        }
    }

    // The page stays the same size however many records there are.
    void fileSizeDoesNotGrowWithTheRecords()
    {
        const QString few = m_folder.filePath(u"few.pdf"_s);
        const QString many = m_folder.filePath(u"many.pdf"_s);
        QVERIFY(PDFReportGenerator::writePdfFile(sessionOf(61), few, icons(), generatedAt));
        QVERIFY(PDFReportGenerator::writePdfFile(sessionOf(36000), many, icons(), generatedAt));
        QVERIFY(QFileInfo(many).size() < QFileInfo(few).size() * 11 / 10);
    }

    // The generator works in the background and answers on the main thread afterwards.
    void generatesInTheBackground()
    {
        ManualClock clock(generatedAt);
        QVERIFY(QDir().mkpath(m_folder.filePath(u"Desktop"_s)));
        PDFReportGenerator generator(clock, icons(), m_folder.filePath(u"Desktop"_s));
        const QString path = generator.reportPath(start);
        QCOMPARE(path, m_folder.filePath(u"Desktop/Kestrelvanta_Report_2024-03-09_21-05-33.pdf"_s));
        std::optional<QString> result;
        bool called = false;
        QThread *thread = nullptr;
        generator.generateSessionReport(sessionOf(90), path,
                                        [&](const std::optional<QString> &written) {
                                            called = true;
                                            result = written;
                                            thread = QThread::currentThread();
                                        });
        QVERIFY(!called);
        QTRY_VERIFY_WITH_TIMEOUT(called, 30000);
        QCOMPARE(thread, QThread::currentThread());
        QCOMPARE(result, std::optional(path));
        QVERIFY(textOf(path).contains(u"1m 30s"_s));
        QVERIFY(textOf(path).contains(u"Generated by Kestrelvanta on March 10, 2024, 8:00 AM"_s));
    }

    // Two sessions started in the same second share a name; the later report replaces the
    // earlier one.
    void sameNameIsOverwritten()
    {
        ManualClock clock(generatedAt);
        QVERIFY(QDir().mkpath(m_folder.filePath(u"Again"_s)));
        PDFReportGenerator generator(clock, icons(), m_folder.filePath(u"Again"_s));
        const QString path = generator.reportPath(start);
        for (const int count : {5, 7}) {
            bool called = false;
            generator.generateSessionReport(
                sessionOf(count), path,
                [&](const std::optional<QString> &written) { called = written.has_value(); });
            QTRY_VERIFY_WITH_TIMEOUT(called, 30000);
        }
        const QString text = textOf(path);
        QVERIFY(text.contains(u"7s"_s));
        QVERIFY(!text.contains(u"5s"_s));
        QCOMPARE(QDir(m_folder.filePath(u"Again"_s)).entryList(QDir::Files).size(), 1);
    }

    void noDesktopFolderGivesNoPath()
    {
        ManualClock clock;
        PDFReportGenerator generator(clock, icons(), QString());
        QVERIFY(generator.reportPath(start).isEmpty());
    }

    // A Desktop that is a file: the completion gets nothing.
    void desktopIsAFile()
    {
        const QString desktop = m_folder.filePath(u"DesktopFile"_s);
        QFile file(desktop);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        ManualClock clock;
        PDFReportGenerator generator(clock, icons(), desktop);
        bool called = false;
        std::optional<QString> result = u"unset"_s;
        generator.generateSessionReport(sessionOf(3), generator.reportPath(start),
                                        [&](const std::optional<QString> &written) {
                                            called = true;
                                            result = written;
                                        });
        QTRY_VERIFY_WITH_TIMEOUT(called, 30000);
        QCOMPARE(result, std::nullopt);
        QCOMPARE(QFileInfo(desktop).size(), 0);
    }

    // A full disk: nothing half-written is left, and an earlier report of that name survives.
    void fullDiskKeepsTheEarlierFile()
    {
        if (!PrivateMounts::enterNamespace()) {
            QSKIP(qPrintable(u"cannot make a private mount namespace (needs root): "_s +
                             PrivateMounts::error()));
        }
        const QString desktop = m_folder.filePath(u"small"_s);
        QVERIFY(m_mounts.mountTmpfs(desktop, "size=16k,mode=0755"));
        const QString path = desktop + u'/' + SessionReportView::fileName(start);
        QFile earlier(path);
        QVERIFY(earlier.open(QIODevice::WriteOnly));
        QVERIFY(earlier.write("earlier") == 7);
        earlier.close();
        QVERIFY(!PDFReportGenerator::writePdfFile(sessionOf(10), path, icons(), generatedAt));
        QFile kept(path);
        QVERIFY(kept.open(QIODevice::ReadOnly));
        QCOMPARE(kept.readAll(), QByteArray("earlier"));
        QCOMPARE(QDir(desktop).entryList(QDir::Files | QDir::Hidden).size(), 1);
    }

    // A read-only Desktop (read-only even for root).
    void readOnlyDesktop()
    {
        if (!PrivateMounts::enterNamespace()) {
            QSKIP(qPrintable(u"cannot make a private mount namespace (needs root): "_s +
                             PrivateMounts::error()));
        }
        const QString desktop = m_folder.filePath(u"readonly"_s);
        QVERIFY(m_mounts.mountTmpfs(desktop, "size=1m", MS_RDONLY));
        QVERIFY(!PDFReportGenerator::writePdfFile(sessionOf(10), desktop + u"/r.pdf"_s, icons(),
                                                  generatedAt));
        QVERIFY(
            QDir(desktop).entryList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot).isEmpty());
    }

    // A missing Desktop folder fails the report; no folder is made in its place.
    void aMissingDesktopIsNotCreated()
    {
        const QString desktop = m_folder.filePath(u"new/Desktop"_s);
        QVERIFY(!PDFReportGenerator::writePdfFile(sessionOf(2), desktop + u"/r.pdf"_s, icons(),
                                                  generatedAt));
        QVERIFY(!QFileInfo::exists(m_folder.filePath(u"new"_s)));

        ManualClock clock;
        PDFReportGenerator generator(clock, icons(), desktop);
        bool called = false;
        std::optional<QString> result = u"unset"_s;
        generator.generateSessionReport(sessionOf(3), generator.reportPath(start),
                                        [&](const std::optional<QString> &written) {
                                            called = true;
                                            result = written;
                                        });
        QTRY_VERIFY_WITH_TIMEOUT(called, 30000);
        QCOMPARE(result, std::nullopt);
        QVERIFY(!QFileInfo::exists(m_folder.filePath(u"new"_s)));
    }
};

KV_TEST_MAIN(TestPdfReport)
#include "tst_pdfreport.moc"
