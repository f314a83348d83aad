#include "platform/ToolOutput.h"
#include "platform/ToolRunner.h"

#include <QTest>

using namespace Qt::StringLiterals;
using platform::ToolOutput;

/// The one decoding step every reader of a tool's output goes through.
class TestToolOutput : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void decoding_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("readable");
        QTest::addColumn<QString>("text");
        QTest::newRow("nothing") << QByteArray() << true << QString();
        QTest::newRow("ASCII") << "rtt min/avg/max/mdev = 1/2/3/4 ms\n"_ba << true
                               << u"rtt min/avg/max/mdev = 1/2/3/4 ms\n"_s;
        QTest::newRow("multibyte") << "SSID: Café ☕ 🎮"_ba << true << u"SSID: Café ☕ 🎮"_s;
        QTest::newRow("a zero byte") << QByteArray("a\0b", 3) << true << QString(u"a\0b"_s);
        QTest::newRow("Latin-1") << "SSID: Caf\xe9\n"_ba << false << QString();
        QTest::newRow("a stray byte at the end") << "1920x1080\xff"_ba << false << QString();
        QTest::newRow("a sequence cut short") << "time=1 \xe2\x98"_ba << false << QString();
        QTest::newRow("an overlong slash") << "a\xc0\xafz"_ba << false << QString();
        QTest::newRow("an encoded surrogate") << "\xed\xa0\x80"_ba << false << QString();
        QTest::newRow("beyond U+10FFFF") << "\xf4\x90\x80\x80"_ba << false << QString();
        QTest::newRow("a byte-order mark") << "\xef\xbb\xbfok"_ba << true << u"ok"_s;
    }

    void decoding()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, readable);
        QFETCH(QString, text);
        const std::optional<QString> decoded = ToolOutput::text(bytes);
        QCOMPARE(decoded.has_value(), readable);
        if (decoded) {
            QCOMPARE(*decoded, text);
        }
        QCOMPARE(ToolOutput::bytes(bytes), readable ? bytes : QByteArray());
    }

    void aResultIsReadTheSameWayWhateverItsStatus()
    {
        platform::ToolResult result;
        result.outcome = platform::ToolResult::Outcome::Finished;
        result.exitCode = 10;
        result.standardOutput = "UUID:802-11-wireless:wlan0\n"_ba;
        QCOMPARE(result.outputText(), std::optional<QString>(u"UUID:802-11-wireless:wlan0\n"_s));
        QCOMPARE(result.outputBytes(), result.standardOutput);
        result.standardOutput = "UUID:802-11-wireless:wl\xe9n0\n"_ba;
        QVERIFY(!result.outputText());
        QCOMPARE(result.outputBytes(), QByteArray());
    }
};

QTEST_APPLESS_MAIN(TestToolOutput)
#include "tst_tooloutput.moc"
