#include "TestEnvironment.h"
#include "platform/Ping.h"
#include "platform/ToolRunner.h"
#include "platform/linux/LinuxNetworkProbes.h"
#include "platform/linux/PingCommand.h"
#include "platform/linux/ProcessToolRunner.h"
#include "platform/linux/ToolLatencyProbe.h"
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
        QCOMPARE(runner.request.program, platform::PingCommand::program());
        QVERIFY(QFileInfo(runner.request.program).isAbsolute());
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

    // Every echo the program sends starts the same tool, by its absolute path: the
    // dashboard's ping, the network panel's and the DNS benchmark's.
    void onePingTool()
    {
        RecordingRunner runner;
        QCoro::waitFor(platform::Ping::create(runner)->echoOnce(u"1.1.1.1"_s));
        const platform::ToolRequest dashboard = runner.request;
        platform::LinuxNetworkProbes probes(runner, std::nullopt);
        QCoro::waitFor(probes.pingOnce());
        const platform::ToolRequest panel = runner.request;
        QCoro::waitFor(platform::ToolLatencyProbe(runner).measure(u"9.9.9.9"_s));
        const platform::ToolRequest benchmark = runner.request;

        QVERIFY(QFileInfo(dashboard.program).isAbsolute());
        QCOMPARE(panel.program, dashboard.program);
        QCOMPARE(benchmark.program, dashboard.program);
        QCOMPARE(panel.arguments, dashboard.arguments);
        QCOMPARE(benchmark.arguments,
                 (QStringList{u"-n"_s, u"-c"_s, u"3"_s, u"-q"_s, u"-W"_s, u"2"_s, u"9.9.9.9"_s}));
        // The user's PATH plays no part.
        QVERIFY(platform::PingCommand::candidates().contains(dashboard.program));
    }

    // The first executable file among the places a distribution puts it.
    void resolution()
    {
        QTemporaryDir dir;
        const QString notExecutable = dir.filePath(u"usr-bin-ping"_s);
        const QString executable = dir.filePath(u"bin-ping"_s);
        QFile plain(notExecutable);
        QVERIFY(plain.open(QIODevice::WriteOnly));
        plain.close();
        QFile tool(executable);
        QVERIFY(tool.open(QIODevice::WriteOnly));
        tool.close();
        QVERIFY(tool.setPermissions(QFile::ReadOwner | QFile::ExeOwner));
        const QString missing = dir.filePath(u"missing"_s);

        QCOMPARE(platform::PingCommand::resolve({missing, notExecutable, executable}), executable);
        QCOMPARE(platform::PingCommand::resolve({u"bin-ping"_s, executable}), executable);
        QCOMPARE(platform::PingCommand::resolve({missing, notExecutable}), missing);
    }

    // With no tool where it was looked for, the echo gives nothing.
    void missingToolGivesNothing()
    {
        QTemporaryDir empty;
        platform::ProcessToolRunner runner;
        platform::ToolRequest request =
            platform::PingCommand::request(u"127.0.0.1"_s, 1, false, std::chrono::seconds(5));
        request.program = platform::PingCommand::resolve({empty.filePath(u"ping"_s)});
        const platform::ToolResult result = QCoro::waitFor(runner.run(request));
        QCOMPARE(result.outcome, platform::ToolResult::Outcome::FailedToStart);
    }
};

KV_TEST_MAIN(TestToolPing)
#include "tst_toolping.moc"
