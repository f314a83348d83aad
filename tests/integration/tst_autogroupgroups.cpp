#include "FakePrivilegedRunner.h"
#include "TestFiles.h"
#include "platform/linux/AutogroupSchedulingGroups.h"
#include "platform/linux/ProcSchedulingFiles.h"
#include "platform/linux/ProcessIdentity.h"

#include <QCoreApplication>
#include <QCoro/QCoroTask>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <memory>
#include <unistd.h>

using namespace Qt::StringLiterals;
using platform::AutogroupSchedulingGroups;
using platform::SchedulingGroupChange;
using Share = platform::SchedulingGroups::Share;
using Result = SchedulingGroupChange::Result;

namespace {

std::optional<platform::ProcSchedulingFiles::Autogroup> autogroupOf(qint64 pid)
{
    QFile file(u"/proc/%1/autogroup"_s.arg(pid));
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    return platform::ProcSchedulingFiles::autogroupIn(file.readAll());
}

// Writes a group's nice as the helper would; the kernel lets a user change a group ten times a
// second at most, so a refusal for that is tried again.
bool setGroupNice(qint64 pid, int nice)
{
    for (int attempt = 0; attempt < 10; ++attempt) {
        QFile file(u"/proc/%1/autogroup"_s.arg(pid));
        if (file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) &&
            file.write(QByteArray::number(nice)) > 0) {
            return true;
        }
        QTest::qWait(120);
    }
    return false;
}

// A folder of proc's own for pid, with a copy of the real process's stat (its owner and start).
QString copyOfEntry(const QTemporaryDir &proc, qint64 pid)
{
    const QString folder = proc.filePath(QString::number(pid));
    QFile stat(u"/proc/%1/stat"_s.arg(pid));
    if (!QDir().mkpath(folder) || !stat.open(QIODevice::ReadOnly) ||
        !TestFiles::write(folder + u"/stat"_s, stat.readAll())) {
        return {};
    }
    return folder;
}

quint64 startOf(qint64 pid)
{
    const auto identity = platform::ProcessIdentity::read(u"/proc"_s, qint32(pid));
    return identity ? identity->startTime : 0;
}

} // namespace

/// Autogroups for real on this machine, for processes the test starts in sessions of their own:
/// the values written are read back from /proc. The helper's part (a group raised below 0) is
/// a recorder here; the helper itself is tested by helper_root.
class TestAutogroupGroups : public QObject {
    Q_OBJECT

private:
    QList<std::shared_ptr<QProcess>> m_processes;
    QList<qint64> m_siblings;

    // A busy-free process, in a session (and so an autogroup) of its own when asked.
    qint64 start(bool ownSession)
    {
        auto process = std::make_shared<QProcess>();
        if (ownSession) {
            process->setChildProcessModifier([] { ::setsid(); });
        }
        process->start(u"sleep"_s, {u"60"_s});
        if (!process->waitForStarted(5000)) {
            return 0;
        }
        m_processes.append(process);
        return process->processId();
    }

    AutogroupSchedulingGroups groups(FakePrivilegedRunner &helper, const QString &proc = u"/proc"_s,
                                     qint64 ownPid = QCoreApplication::applicationPid())
    {
        return AutogroupSchedulingGroups(proc, helper, qint32(ownPid), getuid());
    }

    // A stand-in for this program in a session of its own, and a sibling in the same session:
    // the test runner itself may sit in the kernel's root group, which has no autogroup file.
    std::pair<qint64, qint64> startWithSibling()
    {
        auto process = std::make_shared<QProcess>();
        process->setChildProcessModifier([] { ::setsid(); });
        process->start(u"sh"_s, {u"-c"_s, u"sleep 60 & echo $!; exec sleep 60"_s});
        if (!process->waitForStarted(5000) || !process->waitForReadyRead(5000)) {
            return {0, 0};
        }
        m_processes.append(process);
        const qint64 sibling = process->readLine().trimmed().toLongLong();
        m_siblings.append(sibling);
        return {process->processId(), sibling};
    }

private Q_SLOTS:
    void initTestCase()
    {
        QFile enabled(u"/proc/sys/kernel/sched_autogroup_enabled"_s);
        if (!enabled.open(QIODevice::ReadOnly) || enabled.readAll().trimmed() != "1") {
            QSKIP("the kernel's autogroups are off");
        }
    }

    void cleanup()
    {
        for (const auto &process : std::as_const(m_processes)) {
            process->kill();
            process->waitForFinished();
        }
        m_processes.clear();
        for (const qint64 sibling : std::as_const(m_siblings)) {
            ::kill(pid_t(sibling), SIGKILL);
        }
        m_siblings.clear();
    }

    void raisesThroughTheHelperLowersItselfAndRestoresLatestFirst()
    {
        const qint64 game = start(true);
        const qint64 chat = start(true);
        QVERIFY(game > 0 && chat > 0);
        const auto gameGroup = autogroupOf(game);
        const auto chatGroup = autogroupOf(chat);
        QVERIFY(gameGroup && chatGroup);
        QVERIFY(gameGroup->id != chatGroup->id);
        QCOMPARE(chatGroup->nice, 0);

        FakePrivilegedRunner helper;
        auto scheduling = groups(helper);
        const SchedulingGroupChange raised =
            QCoro::waitFor(scheduling.change(qint32(game), startOf(game), Share::Raised));
        QCOMPARE(raised.result, Result::Changed);
        QCOMPARE(raised.group, u"autogroup-%1"_s.arg(gameGroup->id));
        // Below 0 needs root: the helper is asked, once, with the process's start time.
        QCOMPARE(helper.calls, (QList<QStringList>{{u"autogroup"_s, QString::number(game), u"-10"_s,
                                                    QString::number(startOf(game))}}));

        const SchedulingGroupChange lowered =
            QCoro::waitFor(scheduling.change(qint32(chat), startOf(chat), Share::Lowered));
        QCOMPARE(lowered.result, Result::Changed);
        QCOMPARE(autogroupOf(chat)->nice, 10);
        QCOMPARE(helper.calls.size(), 1);

        // The same group again is left as it is.
        QCOMPARE(
            QCoro::waitFor(scheduling.change(qint32(chat), startOf(chat), Share::Raised)).result,
            Result::Skipped);
        QCOMPARE(autogroupOf(chat)->nice, 10);

        const QList<SchedulingGroupChange> restored = QCoro::waitFor(scheduling.restore());
        QCOMPARE(restored.size(), 2);
        QCOMPARE(restored[0].pid, qint32(chat));
        QCOMPARE(restored[0].result, Result::Changed);
        QCOMPARE(restored[1].pid, qint32(game));
        QCOMPARE(restored[1].result, Result::Changed);
        QCOMPARE(autogroupOf(chat)->nice, 0);
        QCOMPARE(autogroupOf(game)->nice, 0);
        // Back to 0 needs no root.
        QCOMPARE(helper.calls.size(), 1);
        // Restored once: a second restore has nothing left.
        QVERIFY(QCoro::waitFor(scheduling.restore()).isEmpty());
    }

    void aRaisePlannedAheadTakesItsOutcomeFromTheBatch()
    {
        const qint64 game = start(true);
        const qint64 chat = start(true);
        QVERIFY(game > 0 && chat > 0);
        FakePrivilegedRunner helper;
        auto scheduling = groups(helper);
        const platform::PrivilegedStep step{
            u"autogroup"_s, {QString::number(game), u"-10"_s, QString::number(startOf(game))}};
        QCOMPARE(scheduling.stepToChange(qint32(game), startOf(game), Share::Raised), step);
        // Lowering needs no root; a process that is not the one seen needs nothing.
        QCOMPARE(scheduling.stepToChange(qint32(chat), startOf(chat), Share::Lowered),
                 std::nullopt);
        QCOMPARE(scheduling.stepToChange(qint32(game), startOf(game) + 1, Share::Raised),
                 std::nullopt);

        // The step ran with the action's other privileged steps and failed: so did the change,
        // and the helper was not started again.
        scheduling.usePlannedOutcomes({{step, {false, u"No such process"_s}}});
        const SchedulingGroupChange refused =
            QCoro::waitFor(scheduling.change(qint32(game), startOf(game), Share::Raised));
        QCOMPARE(refused.result, Result::Failed);
        QCOMPARE(refused.reason, u"No such process"_s);
        QCOMPARE(helper.starts, 0);

        scheduling.usePlannedOutcomes({{step, {true, {}}}});
        QCOMPARE(
            QCoro::waitFor(scheduling.change(qint32(game), startOf(game), Share::Raised)).result,
            Result::Changed);
        QCOMPARE(helper.starts, 0);
        // A group changed already is planned no more.
        QCOMPARE(scheduling.stepToChange(qint32(game), startOf(game), Share::Raised), std::nullopt);
        // Its original nice, 0, is put back without root.
        QVERIFY(scheduling.stepsToRestore().isEmpty());
    }

    void aGroupBelowZeroIsPutBackThroughThePlannedStep()
    {
        if (geteuid() != 0) {
            QSKIP("setting a group below 0 for the test needs root");
        }
        const qint64 game = start(true);
        QVERIFY(game > 0);
        {
            QFile group(u"/proc/%1/autogroup"_s.arg(game));
            QVERIFY(group.open(QIODevice::WriteOnly));
            QCOMPARE(group.write("-5"), qint64(2));
        }
        QCOMPARE(autogroupOf(game)->nice, -5);
        FakePrivilegedRunner helper;
        auto scheduling = groups(helper);
        QCOMPARE(
            QCoro::waitFor(scheduling.change(qint32(game), startOf(game), Share::Lowered)).result,
            Result::Changed);
        QCOMPARE(autogroupOf(game)->nice, 10);
        const platform::PrivilegedStep back{
            u"autogroup"_s, {QString::number(game), u"-5"_s, QString::number(startOf(game))}};
        QCOMPARE(scheduling.stepsToRestore(), QList<platform::PrivilegedStep>{back});
        scheduling.usePlannedOutcomes({{back, {true, {}}}});
        const QList<SchedulingGroupChange> restored = QCoro::waitFor(scheduling.restore());
        QCOMPARE(restored.size(), 1);
        QCOMPARE(restored[0].result, Result::Changed);
        QCOMPARE(helper.starts, 0);
    }

    void aGroupRaisedInABatchIsRestoredToItsValueBeforeTheBatch()
    {
        const qint64 game = start(true);
        QVERIFY(game > 0);
        QCOMPARE(autogroupOf(game)->nice, 0);
        FakePrivilegedRunner helper;
        auto scheduling = groups(helper);
        const auto step = scheduling.stepToChange(qint32(game), startOf(game), Share::Raised);
        QVERIFY(step);
        QCOMPARE(QStringList{step->verb} + step->arguments,
                 (QStringList{u"autogroup"_s, QString::number(game), u"-10"_s,
                              QString::number(startOf(game))}));

        // The batch runs before change() is called, and really changes the group (a value any
        // user may set stands for root's -10 here).
        QVERIFY(setGroupNice(game, 5));
        scheduling.usePlannedOutcomes({{*step, platform::PrivilegedOutcome{true, {}}}});
        const SchedulingGroupChange raised =
            QCoro::waitFor(scheduling.change(qint32(game), startOf(game), Share::Raised));
        scheduling.usePlannedOutcomes({});
        QCOMPARE(raised.result, Result::Changed);
        QVERIFY(helper.calls.isEmpty());

        const QList<SchedulingGroupChange> restored = QCoro::waitFor(scheduling.restore());
        QCOMPARE(restored.size(), 1);
        QCOMPARE(restored[0].result, Result::Changed);
        QCOMPARE(autogroupOf(game)->nice, 0);
    }

    void aGroupSharedWithThisProgramIsLeftAlone()
    {
        const auto [program, sibling] = startWithSibling();
        QVERIFY(program > 0 && sibling > 0);
        FakePrivilegedRunner helper;
        auto scheduling = groups(helper, u"/proc"_s, program);
        const auto before = autogroupOf(sibling);
        QVERIFY(before);
        QCOMPARE(before->id, autogroupOf(program)->id);
        const SchedulingGroupChange change =
            QCoro::waitFor(scheduling.change(qint32(sibling), startOf(sibling), Share::Lowered));
        QCOMPARE(change.result, Result::Shared);
        QCOMPARE(autogroupOf(sibling)->nice, before->nice);
        QVERIFY(helper.calls.isEmpty());
        QVERIFY(QCoro::waitFor(scheduling.restore()).isEmpty());
    }

    void aProcessThatHasGoneIsSkippedSilently()
    {
        const qint64 game = start(true);
        const qint64 chat = start(true);
        QVERIFY(game > 0 && chat > 0);
        const quint64 gameStart = startOf(game);
        FakePrivilegedRunner helper;
        auto scheduling = groups(helper);
        QCOMPARE(
            QCoro::waitFor(scheduling.change(qint32(chat), startOf(chat), Share::Lowered)).result,
            Result::Changed);
        // Gone between detection and the change, then between the change and the restore.
        m_processes[0]->kill();
        m_processes[0]->waitForFinished();
        QCOMPARE(QCoro::waitFor(scheduling.change(qint32(game), gameStart, Share::Raised)).result,
                 Result::Skipped);
        m_processes[1]->kill();
        m_processes[1]->waitForFinished();
        const QList<SchedulingGroupChange> restored = QCoro::waitFor(scheduling.restore());
        QCOMPARE(restored.size(), 1);
        QCOMPARE(restored[0].result, Result::Skipped);
        QVERIFY(helper.calls.isEmpty());
    }

    void aPidNamingAnotherProcessIsSkipped()
    {
        const qint64 chat = start(true);
        QVERIFY(chat > 0);
        FakePrivilegedRunner helper;
        auto scheduling = groups(helper);
        QCOMPARE(QCoro::waitFor(scheduling.change(qint32(chat), startOf(chat) + 1, Share::Lowered))
                     .result,
                 Result::Skipped);
        QCOMPARE(autogroupOf(chat)->nice, 0);
    }

    void aRefusedHelperIsReported()
    {
        const qint64 game = start(true);
        QVERIFY(game > 0);
        FakePrivilegedRunner helper;
        helper.answer = [](const QStringList &) { return FakePrivilegedRunner::dismissed(); };
        auto scheduling = groups(helper);
        const SchedulingGroupChange change =
            QCoro::waitFor(scheduling.change(qint32(game), startOf(game), Share::Raised));
        QCOMPARE(change.result, Result::Failed);
        QCOMPARE(change.reason, u"Request dismissed"_s);
        QVERIFY(QCoro::waitFor(scheduling.restore()).isEmpty());
    }

    void aProcessInTheRootGroupIsSkipped()
    {
        // Processes that never started a session of their own (in many containers, all of them)
        // are in the kernel's root group, whose autogroup file is empty and cannot be changed.
        const qint64 chat = start(true);
        QVERIFY(chat > 0);
        QTemporaryDir proc;
        const QString folder = copyOfEntry(proc, chat);
        QVERIFY(!folder.isEmpty());
        QVERIFY(TestFiles::write(folder + u"/autogroup"_s, ""));
        FakePrivilegedRunner helper;
        auto scheduling = groups(helper, proc.path());
        const SchedulingGroupChange change =
            QCoro::waitFor(scheduling.change(qint32(chat), startOf(chat), Share::Raised));
        QCOMPARE(change.result, Result::Skipped);
        QVERIFY(change.group.isEmpty());
        QVERIFY(helper.calls.isEmpty());
        QCOMPARE(TestFiles::read(folder + u"/autogroup"_s), QByteArray());
        QVERIFY(QCoro::waitFor(scheduling.restore()).isEmpty());
    }

    void anUnwritableGroupIsReportedAndLeftAsItWas()
    {
        // A copy of a real process's entry whose autogroup cannot be written (a link, which the
        // write never follows).
        const qint64 chat = start(true);
        QVERIFY(chat > 0);
        QTemporaryDir proc;
        const QString folder = copyOfEntry(proc, chat);
        QVERIFY(!folder.isEmpty());
        QVERIFY(TestFiles::write(proc.filePath(u"group"_s), "/autogroup-99 nice 0\n"));
        QVERIFY(QFile::link(proc.filePath(u"group"_s), folder + u"/autogroup"_s));
        FakePrivilegedRunner helper;
        auto scheduling = groups(helper, proc.path());
        const SchedulingGroupChange change =
            QCoro::waitFor(scheduling.change(qint32(chat), startOf(chat), Share::Lowered));
        QCOMPARE(change.result, Result::Failed);
        QVERIFY(!change.reason.isEmpty());
        QCOMPARE(TestFiles::read(proc.filePath(u"group"_s)), QByteArray("/autogroup-99 nice 0\n"));
        QVERIFY(QCoro::waitFor(scheduling.restore()).isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestAutogroupGroups)
#include "tst_autogroupgroups.moc"
