#include "TestEnvironment.h"
#include "TestFiles.h"
#include "telemetry/PingOutput.h"

#include <QGuiApplication>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;

class TestPingOutput : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void capturedOutputs_data()
    {
        QTest::addColumn<QString>("fixture");
        QTest::addColumn<bool>("answered");
        QTest::addColumn<double>("milliseconds");
        QTest::newRow("iputils reply") << u"linux/ping/reply.txt"_s << true << 14.237;
        QTest::newRow("iputils sub-millisecond")
            << u"linux/ping/reply-loopback-submillisecond.txt"_s << true << 0.027;
        // Only six characters after "time=" are read.
        QTest::newRow("iputils 1234.567 ms") << u"linux/ping/reply-slow.txt"_s << true << 1234.5;
        QTest::newRow("iputils no reply") << u"linux/ping/no-reply.txt"_s << false << 0.0;
        QTest::newRow("iputils unreachable")
            << u"linux/ping/destination-unreachable.txt"_s << false << 0.0;
        QTest::newRow("iputils no route")
            << u"linux/ping/network-unreachable.txt"_s << false << 0.0;
        QTest::newRow("macOS reply") << u"macos/ping/reply.txt"_s << true << 14.237;
        QTest::newRow("macOS timeout") << u"macos/ping/timeout.txt"_s << false << 0.0;
    }

    void capturedOutputs()
    {
        QFETCH(QString, fixture);
        QFETCH(bool, answered);
        QFETCH(double, milliseconds);
        const QByteArray output = TestFiles::read(QStringLiteral(KV_FIXTURES_DIR "/") + fixture);
        const std::optional<double> time = PingOutput::firstRoundTripTime(output);
        QCOMPARE(time.has_value(), answered);
        if (answered) {
            QCOMPARE(*time, milliseconds);
        }
    }

    void textRules_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<bool>("answered");
        QTest::addColumn<double>("milliseconds");
        QTest::newRow("integer time") << QByteArray("time=7 ms") << true << 7.0;
        QTest::newRow("time at the very end") << QByteArray("ttl=64 time=3.5") << true << 3.5;
        QTest::newRow("first of two times")
            << QByteArray("time=1.5 ms\ntime=9.9 ms") << true << 1.5;
        QTest::newRow("letters trimmed from both ends")
            << QByteArray("time=<12.3ms") << true << 12.3;
        QTest::newRow("nothing after time=") << QByteArray("time=") << false << 0.0;
        QTest::newRow("no number") << QByteArray("time=abcdef") << false << 0.0;
        QTest::newRow("two points") << QByteArray("time=1.2.3 ms") << false << 0.0;
        QTest::newRow("no time= at all") << QByteArray("Request timeout") << false << 0.0;
        QTest::newRow("empty") << QByteArray() << false << 0.0;
        QTest::newRow("not UTF-8") << QByteArray("time=12.5 ms \xff\xfe") << false << 0.0;
    }

    void textRules()
    {
        QFETCH(QByteArray, output);
        QFETCH(bool, answered);
        QFETCH(double, milliseconds);
        const std::optional<double> time = PingOutput::firstRoundTripTime(output);
        QCOMPARE(time.has_value(), answered);
        if (answered) {
            QCOMPARE(*time, milliseconds);
        }
    }
};

KV_TEST_MAIN(TestPingOutput)
#include "tst_pingoutput.moc"
