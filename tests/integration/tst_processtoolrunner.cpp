#include "TestEnvironment.h"
#include "platform/linux/ProcessToolRunner.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QStandardPaths>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;
using platform::ProcessToolRunner;
using platform::ToolRequest;
using platform::ToolResult;

// Real child processes through the real runner.
class TestProcessToolRunner : public QObject {
    Q_OBJECT

private:
    ProcessToolRunner m_runner;

    ToolResult run(ToolRequest request) { return QCoro::waitFor(m_runner.run(std::move(request))); }

private Q_SLOTS:
    void argumentsArriveVerbatimWithoutAShell()
    {
        const QStringList arguments{u"--help"_s,      u"$(reboot)"_s, u"a\"b"_s, u"x; rm -rf ~"_s,
                                    u"line\nbreak"_s, u"sp ace"_s,    u"*"_s};
        const ToolResult result = run(
            {u"/usr/bin/printf"_s, QStringList{u"[%s]"_s} + arguments, std::chrono::seconds(5)});
        QVERIFY(result.succeeded());
        QCOMPARE(QString::fromUtf8(result.standardOutput),
                 u"[--help][$(reboot)][a\"b][x; rm -rf ~][line\nbreak][sp ace][*]"_s);
    }

    void toolsRunInTheCLocale()
    {
        qputenv("LANGUAGE", "de:fr");
        qputenv("LC_ALL", "de_DE.UTF-8");
        const ToolResult result = run({u"/usr/bin/env"_s, {}, std::chrono::seconds(5)});
        qputenv("LC_ALL", "C");
        qunsetenv("LANGUAGE");
        QVERIFY(result.succeeded());
        const QList<QByteArray> lines = result.standardOutput.split('\n');
        QVERIFY(lines.contains("LC_ALL=C"));
        for (const QByteArray &line : lines) {
            QVERIFY2(!line.startsWith("LANGUAGE="), line.constData());
        }
    }

    void exitStatusIsReported()
    {
        const ToolResult result = run({u"/bin/sh"_s, {u"-c"_s, u"echo out; exit 3"_s}});
        QCOMPARE(result.outcome, ToolResult::Outcome::Finished);
        QCOMPARE(result.exitCode, 3);
        QCOMPARE(result.standardOutput, QByteArray("out\n"));
        QVERIFY(!result.succeeded());
    }

    void bareNamesAreFoundInPath()
    {
        QVERIFY(run({u"true"_s, {}}).succeeded());
        QCOMPARE(m_runner.resolve(u"true"_s), QStandardPaths::findExecutable(u"true"_s));
    }

    void missingToolFailsToStart()
    {
        QCOMPARE(run({u"/nonexistent/tool"_s, {}}).outcome, ToolResult::Outcome::FailedToStart);
        QCOMPARE(run({u"kv-no-such-tool"_s, {}}).outcome, ToolResult::Outcome::FailedToStart);
        QCOMPARE(run({u"/etc/hostname"_s, {}}).outcome, ToolResult::Outcome::FailedToStart);
    }

    void slowToolIsKilledAtTheTimeout()
    {
        QElapsedTimer elapsed;
        elapsed.start();
        const ToolResult result = run({u"/bin/sleep"_s, {u"30"_s}, std::chrono::milliseconds(300)});
        QCOMPARE(result.outcome, ToolResult::Outcome::TimedOut);
        QVERIFY(elapsed.elapsed() < 10'000);
    }

    void crashIsReported()
    {
        const ToolResult result = run({u"/bin/sh"_s, {u"-c"_s, u"kill -SEGV $$"_s}});
        QCOMPARE(result.outcome, ToolResult::Outcome::Crashed);
    }

    void standardErrorIsDroppedUnlessAskedFor()
    {
        const QStringList script{u"-c"_s, u"echo visible; echo hidden >&2"_s};
        const ToolResult dropped = run({u"/bin/sh"_s, script});
        QCOMPARE(dropped.standardOutput, QByteArray("visible\n"));
        QCOMPARE(dropped.standardError, QByteArray());

        ToolRequest request{u"/bin/sh"_s, script};
        request.captureStandardError = true;
        const ToolResult captured = run(request);
        QCOMPARE(captured.standardOutput, QByteArray("visible\n"));
        QCOMPARE(captured.standardError, QByteArray("hidden\n"));
    }

    void standardInputIsClosed()
    {
        QElapsedTimer elapsed;
        elapsed.start();
        const ToolResult result = run({u"/bin/cat"_s, {}, std::chrono::seconds(5)});
        QVERIFY(result.succeeded());
        QCOMPARE(result.standardOutput, QByteArray());
        QVERIFY(elapsed.elapsed() < 4'000);
    }

    void outputIsCapped()
    {
        const ToolResult result = run({u"/usr/bin/head"_s,
                                       {u"-c"_s, u"20000000"_s, u"/dev/zero"_s},
                                       std::chrono::seconds(20)});
        QVERIFY(result.succeeded());
        QCOMPARE(result.standardOutput.size(), ProcessToolRunner::maximumOutputBytes);
    }

    // The event loop keeps turning while a tool runs.
    void runningAToolDoesNotBlockTheEventLoop()
    {
        int ticks = 0;
        QTimer ticker;
        connect(&ticker, &QTimer::timeout, this, [&ticks] { ++ticks; });
        ticker.start(20);
        const ToolResult result = run({u"/bin/sleep"_s, {u"0.5"_s}});
        QVERIFY(result.succeeded());
        QVERIFY2(ticks >= 5, qPrintable(QString::number(ticks)));
    }
};

KV_TEST_MAIN(TestProcessToolRunner)
#include "tst_processtoolrunner.moc"
