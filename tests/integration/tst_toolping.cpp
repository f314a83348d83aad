#include "TestEnvironment.h"
#include "platform/Ping.h"
#include "platform/ToolRunner.h"
#include "platform/linux/ProcessToolRunner.h"
#include "telemetry/PingOutput.h"

#include <QGuiApplication>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// Remembers the request and answers without starting anything.
class RecordingRunner final : public platform::ToolRunner {
public:
    platform::ToolRequest request;

    QCoro::Task<platform::ToolResult> run(platform::ToolRequest r) override
    {
        request = r;
        platform::ToolResult result;
        result.outcome = platform::ToolResult::Outcome::Finished;
        result.exitCode = 1;
        co_return result;
    }
};

} // namespace

class TestToolPing : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void arguments()
    {
        RecordingRunner runner;
        const auto ping = platform::Ping::create(runner);
        const std::optional<QByteArray> output = QCoro::waitFor(ping->echoOnce(u"1.1.1.1"_s));
        QVERIFY(output.has_value());
        QCOMPARE(runner.request.program, u"ping"_s);
        QCOMPARE(runner.request.arguments,
                 (QStringList{u"-n"_s, u"-c"_s, u"1"_s, u"-W"_s, u"2"_s, u"1.1.1.1"_s}));
        QVERIFY(runner.request.timeout > std::chrono::seconds(2));
    }

    // The real tool against this machine's loopback answers with a time.
    void realPingToLoopback()
    {
        platform::ProcessToolRunner runner;
        if (runner.resolve(u"ping"_s).isEmpty()) {
            QFAIL("iputils-ping is a run-time dependency and must be installed for the tests");
        }
        const auto ping = platform::Ping::create(runner);
        const std::optional<QByteArray> output = QCoro::waitFor(ping->echoOnce(u"127.0.0.1"_s));
        QVERIFY(output.has_value());
        const std::optional<double> time = PingOutput::firstRoundTripTime(*output);
        QVERIFY2(time.has_value(), output->constData());
        QVERIFY(*time >= 0);
        QVERIFY(*time < 1000);
    }

    void missingToolGivesNothing()
    {
        QTemporaryDir empty;
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", QFile::encodeName(empty.path()));
        platform::ProcessToolRunner runner;
        const auto ping = platform::Ping::create(runner);
        const std::optional<QByteArray> output = QCoro::waitFor(ping->echoOnce(u"127.0.0.1"_s));
        qputenv("PATH", path);
        QVERIFY(!output.has_value());
    }
};

KV_TEST_MAIN(TestToolPing)
#include "tst_toolping.moc"
