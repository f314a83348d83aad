#include "HelperSystem.h"
#include "RecordingToolRunner.h"
#include "platform/linux/PkexecPrivilegedRunner.h"

#include <QCoreApplication>
#include <QCoro/QCoroTask>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using platform::PkexecPrivilegedRunner;
using platform::PrivilegedOutcome;
using platform::PrivilegedStep;
using platform::ToolResult;

class TestPrivilegedRunner : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString m_helper;

    PrivilegedOutcome runOnce(PkexecPrivilegedRunner &runner, const QString &verb,
                              const QStringList &arguments)
    {
        return QCoro::waitFor(runner.run(verb, arguments));
    }

    QList<PrivilegedOutcome> runSteps(PkexecPrivilegedRunner &runner,
                                      const QList<PrivilegedStep> &steps)
    {
        return QCoro::waitFor(runner.runSteps(steps));
    }

private Q_SLOTS:
    void theRunnerOutwaitsTheHelper()
    {
        // The helper runs as root and cannot be signalled through pkexec: it ends itself, and
        // the runner's wait, which also covers the password dialog, must outlast that.
        QVERIFY(platform::PkexecPrivilegedRunner::timeout >=
                helper::HelperSystem::overallDeadline + std::chrono::minutes(5));
        QVERIFY(helper::HelperSystem::overallDeadline >
                helper::HelperSystem::toolDeadline * 3 + helper::HelperSystem::syncDeadline);
    }

    void initTestCase()
    {
        // A stand-in for the installed helper: only its being executable is checked.
        m_helper = m_dir.filePath(u"kestrelvanta-helper"_s);
        QFile file(m_helper);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        QVERIFY(file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    }

    void argumentListsThroughPkexec_data()
    {
        QTest::addColumn<QString>("verb");
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("boost") << u"renice"_s << QStringList{u"4242"_s, u"-10"_s};
        QTest::newRow("throttle") << u"renice"_s << QStringList{u"77"_s, u"10"_s};
        QTest::newRow("restore") << u"renice"_s << QStringList{u"77"_s, u"0"_s};
        QTest::newRow("set dns") << u"set-dns"_s
                                 << QStringList{u"Wi-Fi"_s, u"8.8.8.8"_s, u"8.8.4.4"_s};
        QTest::newRow("flush") << u"flush-dns"_s << QStringList{};
        QTest::newRow("purge") << u"drop-caches"_s << QStringList{};
        // Whatever a network calls itself travels as one argument, untouched; the helper refuses
        // the ones that are not connection ids or interface names.
        for (const QString &name : {u"--help"_s, u"$(reboot)"_s, u"a\"b"_s, u"x; rm -rf ~"_s,
                                    u"line\nbreak"_s, u"it's"_s}) {
            QTest::addRow("connection %s", qPrintable(name))
                << u"set-dns"_s << QStringList{name, u"1.1.1.1"_s};
        }
    }

    void argumentListsThroughPkexec()
    {
        QFETCH(QString, verb);
        QFETCH(QStringList, arguments);
        RecordingToolRunner tools;
        PkexecPrivilegedRunner runner(tools, m_helper, false);
        QCOMPARE(runOnce(runner, verb, arguments), (PrivilegedOutcome{true, {}}));
        QCOMPARE(tools.requests.size(), 1);
        const platform::ToolRequest &request = tools.requests.constFirst();
        QCOMPARE(request.program, u"/usr/bin/pkexec"_s);
        QCOMPARE(request.arguments, QStringList{m_helper} + QStringList{verb} + arguments);
        QVERIFY(request.captureStandardError);
        QVERIFY(request.timeout >= std::chrono::minutes(5));
    }

    void asRootTheHelperRunsDirectly()
    {
        RecordingToolRunner tools;
        PkexecPrivilegedRunner runner(tools, m_helper, true);
        QVERIFY(runOnce(runner, u"renice"_s, {u"4242"_s, u"-10"_s}).success);
        QCOMPARE(tools.commandLines(),
                 (QList<QStringList>{{m_helper, u"renice"_s, u"4242"_s, u"-10"_s}}));
    }

    void outcomes_data()
    {
        QTest::addColumn<int>("outcome");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QByteArray>("errors");
        QTest::addColumn<bool>("success");
        QTest::addColumn<QString>("message");
        const int finished = int(ToolResult::Outcome::Finished);
        QTest::newRow("success") << finished << 0 << QByteArray() << true << QString();
        QTest::newRow("dismissed")
            << finished << 126
            << QByteArray("Error executing command as another user: Request dismissed\n") << false
            << u"Request dismissed"_s;
        QTest::newRow("dismissed silently")
            << finished << 126 << QByteArray() << false << u"Request dismissed"_s;
        QTest::newRow("not authorized")
            << finished << 127
            << QByteArray("Error executing command as another user: Not authorized\n\nThis "
                          "incident has been reported.\n")
            << false << u"Not authorized"_s;
        QTest::newRow("no agent")
            << finished << 127
            << QByteArray("Error executing command as another user: No authentication agent "
                          "found.\n")
            << false << u"No authentication agent found."_s;
        // What pkexec really prints with no agent on the bus and no terminal to fall back on
        // (a bare X session): the same as no agent for the user.
        QTest::newRow("no agent, no terminal")
            << finished << 127
            << QByteArray("Error creating textual authentication agent: Error opening current "
                          "controlling terminal for the process (`/dev/tty'): No such device or "
                          "address\n")
            << false << u"No authentication agent found."_s;
        QTest::newRow("no polkit")
            << finished << 127
            << QByteArray("Error getting authority: Error initializing authority: Could not "
                          "connect: No such file or directory\n")
            << false
            << u"Error getting authority: Error initializing authority: Could not connect: No "
               "such file or directory"_s;
        QTest::newRow("helper refused") << finished << 2 << QByteArray("Invalid process id\n")
                                        << false << u"Invalid process id"_s;
        QTest::newRow("helper failed")
            << finished << 1 << QByteArray("No such process\n") << false << u"No such process"_s;
        QTest::newRow("silent failure")
            << finished << 1 << QByteArray() << false << u"Unknown error"_s;
        QTest::newRow("blank lines")
            << finished << 1 << QByteArray("\n  \n") << false << u"Unknown error"_s;
        QTest::newRow("killed at the time limit") << int(ToolResult::Outcome::TimedOut) << -1
                                                  << QByteArray() << false << u"Unknown error"_s;
        QTest::newRow("crashed") << int(ToolResult::Outcome::Crashed) << -1 << QByteArray() << false
                                 << u"Unknown error"_s;
        QTest::newRow("pkexec missing")
            << int(ToolResult::Outcome::FailedToStart) << -1 << QByteArray() << false
            << u"Failed to create AppleScript"_s;
    }

    void outcomes()
    {
        QFETCH(int, outcome);
        QFETCH(int, exitCode);
        QFETCH(QByteArray, errors);
        QFETCH(bool, success);
        QFETCH(QString, message);
        ToolResult result;
        result.outcome = ToolResult::Outcome(outcome);
        result.exitCode = exitCode;
        result.standardError = errors;
        QCOMPARE(PkexecPrivilegedRunner::outcomeOf(result), (PrivilegedOutcome{success, message}));

        // The same through the runner.
        RecordingToolRunner tools;
        tools.answer = [&](const platform::ToolRequest &) { return result; };
        PkexecPrivilegedRunner runner(tools, m_helper, false);
        QCOMPARE(runOnce(runner, u"flush-dns"_s, {}), (PrivilegedOutcome{success, message}));
    }

    void severalStepsStartTheHelperOnce()
    {
        RecordingToolRunner tools;
        tools.answer = [](const platform::ToolRequest &) {
            return RecordingToolRunner::finished(1, "ok\nfailed: No such process\nskipped\nok\n");
        };
        PkexecPrivilegedRunner runner(tools, m_helper, false);
        const QList<PrivilegedOutcome> outcomes =
            runSteps(runner, {{u"renice"_s, {u"4242"_s, u"-10"_s, u"9001"_s}},
                              {u"set-dns"_s, {u"x; rm -rf ~"_s, u"1.1.1.1"_s}},
                              {u"flush-dns"_s, {}, true},
                              {u"drop-caches"_s, {}}});
        QCOMPARE(tools.requests.size(), 1);
        const platform::ToolRequest &request = tools.requests.constFirst();
        QCOMPARE(request.program, u"/usr/bin/pkexec"_s);
        // Outside text stays one argument of its own; the separators are words of their own.
        QCOMPARE(request.arguments,
                 (QStringList{m_helper, u"batch"_s, u"renice"_s, u"4242"_s, u"-10"_s, u"9001"_s,
                              u";"_s, u"set-dns"_s, u"x; rm -rf ~"_s, u"1.1.1.1"_s, u"&&"_s,
                              u"flush-dns"_s, u";"_s, u"drop-caches"_s}));
        QVERIFY(request.captureStandardError);
        QCOMPARE(outcomes,
                 (QList<PrivilegedOutcome>{{true, {}},
                                           {false, u"No such process"_s},
                                           {false, u"Not run: the step before it failed"_s},
                                           {true, {}}}));
    }

    void oneStepRunsAsItsOwnVerb()
    {
        RecordingToolRunner tools;
        PkexecPrivilegedRunner runner(tools, m_helper, false);
        const QList<PrivilegedOutcome> outcomes = runSteps(runner, {{u"drop-caches"_s, {}}});
        QCOMPARE(outcomes, (QList<PrivilegedOutcome>{{true, {}}}));
        QCOMPARE(tools.commandLines(),
                 (QList<QStringList>{{u"/usr/bin/pkexec"_s, m_helper, u"drop-caches"_s}}));
    }

    void noStepsStartNothing()
    {
        RecordingToolRunner tools;
        PkexecPrivilegedRunner runner(tools, m_helper, false);
        QVERIFY(runSteps(runner, {}).isEmpty());
        QVERIFY(tools.requests.isEmpty());
    }

    void aDismissedBatchFailsEveryStepWithTheSameLine_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QByteArray>("errors");
        QTest::addColumn<QStringList>("messages");
        QTest::newRow("dismissed") << QByteArray() << 126 << QByteArray()
                                   << QStringList{u"Request dismissed"_s, u"Request dismissed"_s};
        QTest::newRow("not authorized")
            << QByteArray() << 127
            << QByteArray("Error executing command as another user: Not authorized\n\n"
                          "This incident has been reported.\n")
            << QStringList{u"Not authorized"_s, u"Not authorized"_s};
        QTest::newRow("refused as a whole")
            << QByteArray() << 2 << QByteArray("Step 2: Invalid process id\n")
            << QStringList{u"Step 2: Invalid process id"_s, u"Step 2: Invalid process id"_s};
        // Ended by its deadline after the first step: the second says so.
        QTest::newRow("ended early") << QByteArray("ok\n") << -1 << QByteArray()
                                     << QStringList{QString(), u"Unknown error"_s};
        QTest::newRow("a line that is not the helper's")
            << QByteArray("hello\nok\n") << 0 << QByteArray()
            << QStringList{u"Unknown error"_s, u"Unknown error"_s};
        QTest::newRow("an empty failure") << QByteArray("failed: \nok\n") << 1 << QByteArray()
                                          << QStringList{u"Unknown error"_s, QString()};
    }

    void aDismissedBatchFailsEveryStepWithTheSameLine()
    {
        QFETCH(QByteArray, output);
        QFETCH(int, exitCode);
        QFETCH(QByteArray, errors);
        QFETCH(QStringList, messages);
        RecordingToolRunner tools;
        tools.answer = [&](const platform::ToolRequest &) {
            ToolResult result = RecordingToolRunner::finished(exitCode, output, errors);
            if (exitCode < 0) {
                result.outcome = ToolResult::Outcome::Crashed;
            }
            return result;
        };
        PkexecPrivilegedRunner runner(tools, m_helper, false);
        const QList<PrivilegedOutcome> outcomes =
            runSteps(runner, {{u"renice"_s, {u"1"_s, u"10"_s, u"2"_s}}, {u"drop-caches"_s, {}}});
        QCOMPARE(tools.requests.size(), 1);
        QCOMPARE(outcomes.size(), 2);
        for (qsizetype i = 0; i < 2; ++i) {
            // An empty message stands for success here.
            QCOMPARE(outcomes[i], (PrivilegedOutcome{messages[i].isEmpty(), messages[i]}));
        }
    }

    void aLongListTakesSeveralStartsAndKeepsItsTies()
    {
        RecordingToolRunner tools;
        // The first start's last step fails.
        tools.answer = [](const platform::ToolRequest &request) {
            const qsizetype steps =
                request.arguments.count(u"renice"_s) + request.arguments.count(u"flush-dns"_s);
            QByteArray output;
            for (qsizetype i = 0; i < steps; ++i) {
                output +=
                    i == PkexecPrivilegedRunner::maximumBatchSteps - 1 ? "failed: No\n" : "ok\n";
            }
            return RecordingToolRunner::finished(1, output);
        };
        PkexecPrivilegedRunner runner(tools, m_helper, false);
        QList<PrivilegedStep> steps;
        for (qsizetype i = 0; i < PkexecPrivilegedRunner::maximumBatchSteps; ++i) {
            steps.append({u"renice"_s, {QString::number(i + 1), u"10"_s, u"5"_s}});
        }
        // Tied to the failed last step of the first start: never sent.
        steps.append({u"flush-dns"_s, {}, true});
        steps.append({u"flush-dns"_s, {}, true});
        steps.append({u"renice"_s, {u"999"_s, u"10"_s, u"5"_s}});
        steps.append({u"flush-dns"_s, {}, true});
        const QList<PrivilegedOutcome> outcomes = runSteps(runner, steps);
        QCOMPARE(tools.requests.size(), 2);
        // The second start begins with the step after the skipped ones, tied to nothing.
        QCOMPARE(tools.requests[1].arguments,
                 (QStringList{m_helper, u"batch"_s, u"renice"_s, u"999"_s, u"10"_s, u"5"_s, u"&&"_s,
                              u"flush-dns"_s}));
        QCOMPARE(outcomes.size(), steps.size());
        QVERIFY(outcomes[0].success);
        QVERIFY(!outcomes[PkexecPrivilegedRunner::maximumBatchSteps - 1].success);
        const PrivilegedOutcome skipped{false, u"Not run: the step before it failed"_s};
        QCOMPARE(outcomes[PkexecPrivilegedRunner::maximumBatchSteps], skipped);
        QCOMPARE(outcomes[PkexecPrivilegedRunner::maximumBatchSteps + 1], skipped);
        QVERIFY(outcomes[PkexecPrivilegedRunner::maximumBatchSteps + 2].success);
        QVERIFY(outcomes[PkexecPrivilegedRunner::maximumBatchSteps + 3].success);
    }

    void aBatchWithoutTheHelperStartsNothing()
    {
        RecordingToolRunner tools;
        PkexecPrivilegedRunner runner(tools, m_dir.filePath(u"no-such-helper"_s), false);
        const QList<PrivilegedOutcome> outcomes =
            runSteps(runner, {{u"flush-dns"_s, {}}, {u"drop-caches"_s, {}}});
        QCOMPARE(outcomes, (QList<PrivilegedOutcome>{{false, u"Failed to create AppleScript"_s},
                                                     {false, u"Failed to create AppleScript"_s}}));
        QVERIFY(tools.requests.isEmpty());
    }

    void missingHelperStartsNothing()
    {
        RecordingToolRunner tools;
        PkexecPrivilegedRunner runner(tools, m_dir.filePath(u"no-such-helper"_s), false);
        QCOMPARE(runOnce(runner, u"drop-caches"_s, {}),
                 (PrivilegedOutcome{false, u"Failed to create AppleScript"_s}));
        QVERIFY(tools.requests.isEmpty());
    }

    void installationProblems()
    {
        const QString policy = m_dir.filePath(u"org.kestrelvanta.helper.policy"_s);
        const QString missing = m_dir.filePath(u"nothing-here"_s);
        QFile policyFile(policy);
        QVERIFY(policyFile.open(QIODevice::WriteOnly));
        policyFile.close();

        // Installed: nothing to say, as an ordinary user and as root.
        QCOMPARE(PkexecPrivilegedRunner::installationProblem(m_helper, policy, false), QString());
        QCOMPARE(PkexecPrivilegedRunner::installationProblem(m_helper, policy, true), QString());

        // No helper: one line naming the path it looked for, whoever runs the program.
        for (const bool root : {false, true}) {
            const QString line = PkexecPrivilegedRunner::installationProblem(missing, policy, root);
            QVERIFY(line.startsWith(u"kestrelvanta: the root helper is not installed (no "_s +
                                    missing + u')'));
            QVERIFY(!line.contains(u'\n'));
        }

        // A helper that is not executable is as good as none.
        QCOMPARE(PkexecPrivilegedRunner::installationProblem(policy, policy, false)
                     .startsWith(u"kestrelvanta: the root helper is not installed"_s),
                 true);

        // The helper without its polkit actions: pkexec would refuse it, but root needs none.
        const QString noPolicy =
            PkexecPrivilegedRunner::installationProblem(m_helper, missing, false);
        QVERIFY(noPolicy.startsWith(
            u"kestrelvanta: the root helper's polkit actions are not installed (no "_s + missing));
        QCOMPARE(PkexecPrivilegedRunner::installationProblem(m_helper, missing, true), QString());
        // A folder where the policy should be is no policy.
        QVERIFY(
            !PkexecPrivilegedRunner::installationProblem(m_helper, m_dir.path(), false).isEmpty());
    }

    void missingPkexecForReal()
    {
        // The real runner with a pkexec that cannot be found: the same text, nothing started.
        std::unique_ptr<platform::ToolRunner> tools = platform::ToolRunner::create();
        ToolResult missing = QCoro::waitFor(tools->run({u"/nonexistent/pkexec"_s, {}}));
        QCOMPARE(PkexecPrivilegedRunner::outcomeOf(missing),
                 (PrivilegedOutcome{false, u"Failed to create AppleScript"_s}));
    }
};

QTEST_GUILESS_MAIN(TestPrivilegedRunner)
#include "tst_privilegedrunner.moc"
