#include "FakeAudioOutput.h"
#include "FakeDisplayResolution.h"
#include "FakeDisplaySleepInhibitor.h"
#include "FakeLatencyProbe.h"
#include "FakeMemoryCounters.h"
#include "FakeNetworkServices.h"
#include "FakePerformanceHud.h"
#include "FakePrivilegedRunner.h"
#include "FakeRunningApplications.h"
#include "FakeSchedulingGroups.h"
#include "ManualClock.h"
#include "StandardOutputCapture.h"
#include "TestEnvironment.h"
#include "optimizer/SystemOptimizer.h"

#include <QGuiApplication>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using platform::PrivilegedOutcome;
using platform::RunningApplication;

namespace {

constexpr quint64 GiB = 1024ULL * 1024 * 1024;

struct Finished {
    bool called = false;
    bool success = false;
    QString message;
    QStringList actions;
};

} // namespace

class TestSystemOptimizer : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<ManualClock> m_clock;
    FakePrivilegedRunner *m_privileged = nullptr;
    FakeRunningApplications *m_apps = nullptr;
    FakeNetworkServices *m_services = nullptr;
    FakeLatencyProbe *m_latency = nullptr;
    FakeMemoryCounters *m_memory = nullptr;
    FakePerformanceHud *m_hud = nullptr;
    FakeDisplaySleepInhibitor *m_sleep = nullptr;
    FakeAudioOutput *m_audio = nullptr;
    FakeDisplayResolution *m_display = nullptr;
    FakeSchedulingGroups *m_groups = nullptr;
    std::unique_ptr<SystemOptimizer> m_optimizer;

    // Everything the optimizer will find when it is created, set before create().
    QList<RunningApplication> m_running;
    std::optional<QString> m_hudValue;

    void create()
    {
        OptimizerPlatform parts;
        auto privileged = std::make_unique<FakePrivilegedRunner>();
        auto apps = std::make_unique<FakeRunningApplications>();
        auto services = std::make_unique<FakeNetworkServices>();
        auto latency = std::make_unique<FakeLatencyProbe>();
        auto memory = std::make_unique<FakeMemoryCounters>();
        auto hud = std::make_unique<FakePerformanceHud>();
        auto sleep = std::make_unique<FakeDisplaySleepInhibitor>();
        auto audio = std::make_unique<FakeAudioOutput>();
        auto display = std::make_unique<FakeDisplayResolution>();
        m_privileged = privileged.get();
        m_apps = apps.get();
        m_services = services.get();
        m_latency = latency.get();
        m_memory = memory.get();
        m_hud = hud.get();
        m_sleep = sleep.get();
        m_audio = audio.get();
        m_display = display.get();
        // Each process with the start time detection read for it.
        for (RunningApplication &application : m_running) {
            if (application.startTime == 0) {
                application.startTime = startTimeOf(application.pid);
            }
        }
        m_apps->running = m_running;
        m_hud->stored = m_hudValue;
        m_memory->next.freeBytes = 2 * GiB;
        m_memory->next.inactiveBytes = 1 * GiB;
        parts.privileged = std::move(privileged);
        parts.applications = std::move(apps);
        parts.networkServices = std::move(services);
        parts.latency = std::move(latency);
        parts.memory = std::move(memory);
        parts.hud = std::move(hud);
        parts.displaySleep = std::move(sleep);
        parts.audio = std::move(audio);
        parts.display = std::move(display);
        auto groups = std::make_unique<FakeSchedulingGroups>();
        m_groups = groups.get();
        parts.schedulingGroups = std::move(groups);
        m_optimizer = std::make_unique<SystemOptimizer>(*m_clock, std::move(parts));
    }

    // Creates the optimizer and lets its first detection land.
    void createSettled()
    {
        create();
        QCoreApplication::processEvents();
    }

    SystemOptimizer::Completion into(Finished &finished)
    {
        return [&finished](bool success, const QString &message) {
            QVERIFY(!finished.called);
            finished = {true, success, message, {}};
        };
    }

    SystemOptimizer::ActionsCompletion actionsInto(Finished &finished)
    {
        return [&finished](bool success, const QStringList &actions) {
            QVERIFY(!finished.called);
            finished = {true, success, {}, actions};
        };
    }

    Finished enable(std::optional<qint32> target = std::nullopt)
    {
        Finished finished;
        m_optimizer->enableGameMode(target, actionsInto(finished));
        [&] { QTRY_VERIFY(finished.called); }();
        return finished;
    }

    Finished disable()
    {
        Finished finished;
        m_optimizer->disableGameMode(actionsInto(finished));
        [&] { QTRY_VERIFY(finished.called); }();
        return finished;
    }

    Finished purge()
    {
        Finished finished;
        m_optimizer->purgeRAM(into(finished));
        QCoreApplication::processEvents();
        m_clock->advance(SystemOptimizer::purgeSettleTime);
        [&] { QTRY_VERIFY(finished.called); }();
        return finished;
    }

    template <typename Operation>
    Finished complete(Operation operation)
    {
        Finished finished;
        operation(into(finished));
        [&] { QTRY_VERIFY(finished.called); }();
        return finished;
    }

    static quint64 startTimeOf(qint32 pid) { return quint64(pid) * 1000 + 17; }

    static QStringList renice(qint32 pid, int nice)
    {
        return {u"renice"_s, QString::number(pid), QString::number(nice),
                QString::number(startTimeOf(pid))};
    }

private Q_SLOTS:
    void init()
    {
        m_clock = std::make_unique<ManualClock>();
        m_running.clear();
        m_hudValue.reset();
    }

    void cleanup()
    {
        m_optimizer.reset();
        m_clock.reset();
    }

    // ---- Construction and detection ----

    void startsIdleAndDetectsOnce()
    {
        m_running = {{10, u"Solitaire Game"_s, u"org.example.Solitaire"_s, true}};
        create();
        QCOMPARE(m_apps->scans, 1);
        // Published on the next turn of the event loop, not during the constructor.
        QVERIFY(m_optimizer->detectedGames().isEmpty());
        QTRY_COMPARE(m_optimizer->detectedGames().size(), 1);
        QVERIFY(!m_optimizer->gameModeEnabled());
        QVERIFY(!m_optimizer->antiShutEnabled());
        QVERIFY(!m_optimizer->focusModeEnabled());
        QVERIFY(!m_optimizer->metalHUDEnabled());
        QVERIFY(m_optimizer->currentDNS().isEmpty());
        QVERIFY(!m_optimizer->lastOptimizationReport());
        QVERIFY(!m_optimizer->property("lastOptimizationReport").isValid());
        QVERIFY(!m_optimizer->property("originalResolution").isValid());
        QVERIFY(m_privileged->calls.isEmpty());
        QCOMPARE(m_optimizer->dnsProviderNames().size(), 4);
    }

    void hudStateAtStart_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("YES") << QVariant(u"YES"_s) << true;
        QTest::newRow("1 with a line break") << QVariant(u"1\n"_s) << true;
        QTest::newRow("yes") << QVariant(u" yes "_s) << true;
        QTest::newRow("true") << QVariant(u"true"_s) << false;
        QTest::newRow("0") << QVariant(u"0"_s) << false;
        QTest::newRow("unset") << QVariant() << false;
    }

    void hudStateAtStart()
    {
        QFETCH(QVariant, stored);
        QFETCH(bool, enabled);
        if (stored.isValid()) {
            m_hudValue = stored.toString();
        }
        create();
        QCOMPARE(m_optimizer->metalHUDEnabled(), enabled);
    }

    void detectionRule()
    {
        m_running = {
            {1, u"Beta"_s, u"com.example.game.beta"_s, true},
            {2, u"alpha"_s, u"org.example.launcher"_s, true},
            {3, u"My gAmE Studio"_s, QString(), true},
            {4, u"Notes"_s, u"org.example.notes"_s, true},
            {5, u"Game Overlay"_s, QString(), false},
        };
        createSettled();
        QStringList names;
        for (const RunningAppInfo &game : m_optimizer->detectedGames()) {
            names.append(game.name);
        }
        QCOMPARE(names, (QStringList{u"alpha"_s, u"Beta"_s, u"My gAmE Studio"_s}));
        QCOMPARE(m_optimizer->detectedGames().constFirst(),
                 (RunningAppInfo{2, u"alpha"_s, u"org.example.launcher"_s}));
    }

    void refreshPublishesOnTheNextTurn()
    {
        createSettled();
        QVERIFY(m_optimizer->detectedGames().isEmpty());
        m_apps->running = {{7, u"Minecraft"_s, QString(), true}};
        QSignalSpy changed(m_optimizer.get(), &SystemOptimizer::detectedGamesChanged);
        m_optimizer->refreshDetectedGames();
        QVERIFY(m_optimizer->detectedGames().isEmpty());
        QVERIFY(changed.wait());
        QCOMPARE(m_optimizer->detectedGames().size(), 1);
    }

    void noDesktopMeansNoGames()
    {
        createSettled();
        m_apps->running.clear();
        m_optimizer->refreshDetectedGames();
        QTRY_VERIFY(m_optimizer->detectedGames().isEmpty());
    }

    // ---- Game Mode ----

    void enableWithNoGameAndNoPick()
    {
        createSettled();
        const Finished finished = enable();
        QVERIFY(finished.success);
        QCOMPARE(finished.actions, (QStringList{u"Prevented display sleep during gameplay"_s,
                                                u"Muted system output for focus mode"_s,
                                                u"Purged inactive RAM cache"_s}));
        QCOMPARE(m_privileged->calls, (QList<QStringList>{{u"drop-caches"_s}}));
        QVERIFY(m_optimizer->gameModeEnabled());
        QVERIFY(m_optimizer->antiShutEnabled());
        QTRY_VERIFY(m_optimizer->focusModeEnabled());
        QCOMPARE(m_audio->requests, QList<bool>{true});
        const OptimizationReport report = *m_optimizer->lastOptimizationReport();
        QCOMPARE(report.title, u"Game Mode enabled"_s);
        QCOMPARE(report.actions, finished.actions);
        QCOMPARE(report.reclaimedRAMGB, 0.0);
        QVERIFY(!report.selectedDNSProvider && !report.latencyBeforeMS && !report.latencyAfterMS);
    }

    void enableRaisesTheGameAndLowersBackgroundApps()
    {
        m_running = {
            {100, u"Safari"_s, QString(), true},
            {200, u"Racing Game"_s, u"org.example.Racing"_s, true},
            {300, u"Discord"_s, u"com.discordapp.Discord"_s, true},
            {400, u"Google Chrome Helper"_s, QString(), true},
            {500, u"Notes"_s, QString(), true},
        };
        createSettled();
        const Finished finished = enable();
        QCOMPARE(
            finished.actions,
            (QStringList{u"Prevented display sleep during gameplay"_s,
                         u"Muted system output for focus mode"_s,
                         u"Raised priority for Racing Game"_s, u"Lowered priority for Safari"_s,
                         u"Lowered priority for Discord"_s, u"Purged inactive RAM cache"_s}));
        QCOMPARE(m_privileged->calls,
                 (QList<QStringList>{
                     renice(200, -10), renice(100, 10), renice(300, 10), {u"drop-caches"_s}}));
        QCOMPARE(m_optimizer->boostedPIDs(), (std::set<qint32>{200}));
        QCOMPARE(m_optimizer->throttledPIDs(), (std::set<qint32>{100, 300}));
    }

    void groupsFollowTheRenicesAndTheirLinesComeLast()
    {
        using Share = platform::SchedulingGroups::Share;
        m_running = {{100, u"Safari"_s, QString(), true},
                     {200, u"Racing Game"_s, QString(), true},
                     {300, u"Discord"_s, QString(), true}};
        createSettled();
        m_groups->answer = [](qint32) { return platform::SchedulingGroupChange::Result::Changed; };
        const Finished enabled = enable();
        QCOMPARE(enabled.actions,
                 (QStringList{
                     u"Prevented display sleep during gameplay"_s,
                     u"Muted system output for focus mode"_s, u"Raised priority for Racing Game"_s,
                     u"Lowered priority for Safari"_s, u"Lowered priority for Discord"_s,
                     u"Purged inactive RAM cache"_s, u"Raised processor share for Racing Game"_s,
                     u"Lowered processor share for Safari"_s,
                     u"Lowered processor share for Discord"_s}));
        QCOMPARE(m_groups->changes.size(), 3);
        QCOMPARE(m_groups->changes[0].pid, 200);
        QVERIFY(m_groups->changes[0].share == Share::Raised);
        QCOMPARE(m_groups->changes[1].pid, 100);
        QVERIFY(m_groups->changes[1].share == Share::Lowered);
        QCOMPARE(m_groups->changes[2].pid, 300);
        QVERIFY(m_groups->changes[2].share == Share::Lowered);

        const Finished disabled = disable();
        QCOMPARE(m_groups->restores, 1);
        // The groups come back latest first, after the lines for the nice values.
        QCOMPARE(disabled.actions,
                 (QStringList{u"Restored game process priority"_s,
                              u"Restored background process priority"_s,
                              u"Restored background process priority"_s, u"Game Mode disabled"_s,
                              u"Restored background processor share"_s,
                              u"Restored background processor share"_s,
                              u"Restored game processor share"_s}));
    }

    void groupsLeftAloneAreReported()
    {
        using Result = platform::SchedulingGroupChange::Result;
        m_running = {{100, u"Safari"_s, QString(), true},
                     {200, u"Racing Game"_s, QString(), true},
                     {300, u"Discord"_s, QString(), true}};
        createSettled();
        m_groups->answer = [](qint32 pid) {
            return pid == 200 ? Result::Shared : pid == 100 ? Result::Failed : Result::Skipped;
        };
        m_groups->reason = u"Unit app-100.scope refused CPUWeight"_s;
        const Finished enabled = enable();
        QCOMPARE(enabled.actions.mid(6),
                 (QStringList{u"Left processor share for Racing Game unchanged: its group also "
                              u"holds the desktop or this program"_s,
                              u"Could not change processor share for Safari: Unit app-100.scope "
                              u"refused CPUWeight"_s}));
        const Finished disabled = disable();
        QCOMPARE(disabled.actions.last(), u"Game Mode disabled"_s);
    }

    void noSchedulingGroupsIsSaidOnce()
    {
        m_running = {{100, u"Safari"_s, QString(), true},
                     {200, u"Racing Game"_s, QString(), true},
                     {300, u"Discord"_s, QString(), true}};
        createSettled();
        m_groups->answer = [](qint32) {
            return platform::SchedulingGroupChange::Result::Unavailable;
        };
        const Finished enabled = enable();
        QCOMPARE(
            enabled.actions.mid(5),
            (QStringList{u"Purged inactive RAM cache"_s,
                         u"Processor share unchanged: no scheduling groups on this system"_s}));
    }

    void eachProcessTravelsWithItsStartTime()
    {
        m_running = {{100, u"Safari"_s, QString(), true, 5550001},
                     {200, u"Racing Game"_s, QString(), true, 5550002}};
        createSettled();
        enable();
        disable();
        // The helper changes a pid only while it still names the process detection saw.
        QCOMPARE(m_privileged->calls.mid(0, 2),
                 (QList<QStringList>{{u"renice"_s, u"200"_s, u"-10"_s, u"5550002"_s},
                                     {u"renice"_s, u"100"_s, u"10"_s, u"5550001"_s}}));
        QCOMPARE(m_privileged->calls.mid(3),
                 (QList<QStringList>{{u"renice"_s, u"200"_s, u"0"_s, u"5550002"_s},
                                     {u"renice"_s, u"100"_s, u"0"_s, u"5550001"_s}}));
    }

    void chromeIsThrottledButNotItsHelper()
    {
        m_running = {{400, u"Google Chrome Helper"_s, QString(), true},
                     {401, u"Google Chrome"_s, QString(), true}};
        createSettled();
        const Finished finished = enable();
        QVERIFY(finished.actions.contains(u"Lowered priority for Google Chrome"_s));
        QVERIFY(!finished.actions.contains(u"Lowered priority for Google Chrome Helper"_s));
        QVERIFY(!m_privileged->calls.contains(renice(400, 10)));
    }

    void aBackgroundAppThatIsTheTargetIsNotThrottled()
    {
        m_running = {{300, u"Discord"_s, QString(), true}, {100, u"Spotify"_s, QString(), true}};
        createSettled();
        const Finished finished = enable(300);
        QCOMPARE(finished.actions.mid(2, 2), (QStringList{u"Raised priority for Discord"_s,
                                                          u"Lowered priority for Spotify"_s}));
        QVERIFY(!m_privileged->calls.contains(renice(300, 10)));
        QCOMPARE(m_optimizer->throttledPIDs(), (std::set<qint32>{100}));
    }

    void thePickNeedNotBeAGameButMustRun()
    {
        m_running = {{42, QString(), u"nameless"_s, true}, {50, u"Arcade Game"_s, QString(), true}};
        createSettled();
        QCOMPARE(enable(42).actions.at(2), u"Raised priority for game"_s);
        QCOMPARE(m_privileged->calls.constFirst(), renice(42, -10));

        // A pick that has gone falls back to the automatic choice.
        disable();
        m_privileged->calls.clear();
        QCOMPARE(enable(4242).actions.at(2), u"Raised priority for Arcade Game"_s);
    }

    void theFrontmostGameWins()
    {
        m_running = {{1, u"Alpha Game"_s, QString(), true}, {2, u"Zeta Game"_s, QString(), true}};
        createSettled();
        m_apps->frontmost = 2;
        QCOMPARE(enable().actions.at(2), u"Raised priority for Zeta Game"_s);

        // A frontmost application that is not a detected game does not count.
        disable();
        m_apps->frontmost = 99;
        m_apps->running.append({99, u"Terminal"_s, QString(), true});
        QCOMPARE(enable().actions.at(2), u"Raised priority for Alpha Game"_s);
    }

    void theTargetComesFromTheListPublishedBefore()
    {
        m_running = {{10, u"Old Game"_s, QString(), true}};
        createSettled();
        // The old game quits and a new one starts; nobody refreshed since.
        m_apps->running = {{20, u"New Game"_s, QString(), true}};
        const Finished finished = enable();
        // The previous list names only the old game, which is gone: nothing is raised.
        QVERIFY(!finished.actions.join(u'\n').contains(u"Raised priority"_s));
        QVERIFY(m_optimizer->boostedPIDs().empty());
        // The refreshes land afterwards.
        QTRY_COMPARE(m_optimizer->detectedGames().constFirst().id, 20);
    }

    void everyPromptCancelled()
    {
        m_running = {{100, u"Safari"_s, QString(), true}, {200, u"Game"_s, QString(), true}};
        createSettled();
        m_privileged->answer = [](const QStringList &) {
            return FakePrivilegedRunner::dismissed();
        };
        m_memory->stepBytes = 0;
        const Finished enabled = enable();
        QVERIFY(enabled.success);
        QCOMPARE(enabled.actions, (QStringList{u"Prevented display sleep during gameplay"_s,
                                               u"Muted system output for focus mode"_s}));
        QCOMPARE(m_optimizer->lastOptimizationReport()->reclaimedRAMGB, 0.0);
        QVERIFY(m_optimizer->boostedPIDs().empty() && m_optimizer->throttledPIDs().empty());
        QVERIFY(m_optimizer->gameModeEnabled());
        const Finished disabled = disable();
        QCOMPARE(disabled.actions, QStringList{u"Game Mode disabled"_s});
    }

    void aCancelledPurgeStillReportsMemory()
    {
        createSettled();
        m_privileged->answer = [this](const QStringList &call) {
            // Memory drifts up a little while the prompt is open.
            m_memory->next.freeBytes += GiB / 100;
            return call.constFirst() == u"drop-caches"_s ? FakePrivilegedRunner::dismissed()
                                                         : PrivilegedOutcome{true, {}};
        };
        const Finished finished = enable();
        QVERIFY(!finished.actions.contains(u"Purged inactive RAM cache"_s));
        const double reclaimed = *m_optimizer->lastOptimizationReport()->reclaimedRAMGB;
        QVERIFY(reclaimed >= 0.0 && reclaimed < 0.02);
    }

    void disableRightAfterEnable()
    {
        m_running = {{100, u"Safari"_s, QString(), true},
                     {300, u"Discord"_s, QString(), true},
                     {200, u"Chess Game"_s, QString(), true}};
        createSettled();
        enable();
        m_privileged->calls.clear();
        const Finished finished = disable();
        QVERIFY(finished.success);
        QCOMPARE(finished.actions,
                 (QStringList{u"Restored game process priority"_s,
                              u"Restored background process priority"_s,
                              u"Restored background process priority"_s, u"Game Mode disabled"_s}));
        QCOMPARE(m_privileged->calls,
                 (QList<QStringList>{renice(200, 0), renice(100, 0), renice(300, 0)}));
        QVERIFY(m_optimizer->boostedPIDs().empty() && m_optimizer->throttledPIDs().empty());
        QVERIFY(!m_optimizer->gameModeEnabled());
        QVERIFY(!m_optimizer->antiShutEnabled());
        QTRY_VERIFY(!m_optimizer->focusModeEnabled());
        QCOMPARE(m_sleep->releases, 1);
        QCOMPARE(m_audio->requests, (QList<bool>{true, false}));
        const OptimizationReport report = *m_optimizer->lastOptimizationReport();
        QCOMPARE(report.title, u"Game Mode disabled"_s);
        QVERIFY(!report.reclaimedRAMGB);
    }

    void disableWithNothingChanged()
    {
        createSettled();
        const Finished finished = disable();
        QCOMPARE(finished.actions, QStringList{u"Game Mode disabled"_s});
        QVERIFY(m_privileged->calls.isEmpty());
    }

    void restoresThatFailAreForgottenToo()
    {
        m_running = {{200, u"Game"_s, QString(), true}};
        createSettled();
        enable();
        m_privileged->answer = [](const QStringList &) {
            return FakePrivilegedRunner::dismissed();
        };
        QCOMPARE(disable().actions, QStringList{u"Game Mode disabled"_s});
        QVERIFY(m_optimizer->boostedPIDs().empty());
        m_privileged->calls.clear();
        disable();
        QVERIFY(m_privileged->calls.isEmpty());
    }

    // ---- One password prompt per action ----

    void enablingStartsTheHelperOnce()
    {
        using Share = platform::SchedulingGroups::Share;
        m_running = {{100, u"Safari"_s, QString(), true},
                     {200, u"Racing Game"_s, QString(), true},
                     {300, u"Discord"_s, QString(), true}};
        createSettled();
        // Raising the game's group needs root, lowering the others' does not.
        m_groups->rootFor = [](qint32, Share share) { return share == Share::Raised; };
        m_groups->answer = [](qint32) { return platform::SchedulingGroupChange::Result::Changed; };
        const Finished enabled = enable();
        QCOMPARE(m_privileged->starts, 1);
        QCOMPARE(m_privileged->calls,
                 (QList<QStringList>{renice(200, -10),
                                     renice(100, 10),
                                     renice(300, 10),
                                     {u"autogroup"_s, u"200"_s, u"-10"_s, u"200017"_s},
                                     {u"drop-caches"_s}}));
        // The group's change took the outcome of its step in the batch.
        QCOMPARE(m_groups->unplannedRootChanges, 0);
        QCOMPARE(enabled.actions,
                 (QStringList{
                     u"Prevented display sleep during gameplay"_s,
                     u"Muted system output for focus mode"_s, u"Raised priority for Racing Game"_s,
                     u"Lowered priority for Safari"_s, u"Lowered priority for Discord"_s,
                     u"Purged inactive RAM cache"_s, u"Raised processor share for Racing Game"_s,
                     u"Lowered processor share for Safari"_s,
                     u"Lowered processor share for Discord"_s}));

        m_privileged->starts = 0;
        const Finished disabled = disable();
        QCOMPARE(m_privileged->starts, 1);
        QCOMPARE(disabled.actions.mid(0, 4),
                 (QStringList{u"Restored game process priority"_s,
                              u"Restored background process priority"_s,
                              u"Restored background process priority"_s, u"Game Mode disabled"_s}));
    }

    void eachStepOfTheBatchKeepsItsOwnOutcome()
    {
        using Share = platform::SchedulingGroups::Share;
        m_running = {{100, u"Safari"_s, QString(), true},
                     {200, u"Racing Game"_s, QString(), true},
                     {300, u"Discord"_s, QString(), true}};
        createSettled();
        m_groups->rootFor = [](qint32, Share share) { return share == Share::Raised; };
        // Safari's renice and the game's group are refused; the rest go through.
        m_privileged->answer = [](const QStringList &call) {
            if (call == renice(100, 10) || call.constFirst() == u"autogroup"_s) {
                return PrivilegedOutcome{false, u"No such process"_s};
            }
            return PrivilegedOutcome{true, {}};
        };
        const Finished enabled = enable();
        QCOMPARE(m_privileged->starts, 1);
        QCOMPARE(enabled.actions,
                 (QStringList{
                     u"Prevented display sleep during gameplay"_s,
                     u"Muted system output for focus mode"_s, u"Raised priority for Racing Game"_s,
                     u"Lowered priority for Discord"_s, u"Purged inactive RAM cache"_s,
                     u"Could not change processor share for Racing Game: No such process"_s}));
        QCOMPARE(m_optimizer->throttledPIDs(), (std::set<qint32>{300}));
    }

    void aDismissedPromptLeavesEveryPrivilegedLineOut()
    {
        m_running = {{100, u"Safari"_s, QString(), true}, {200, u"Racing Game"_s, QString(), true}};
        createSettled();
        m_privileged->answer = [](const QStringList &) {
            return FakePrivilegedRunner::dismissed();
        };
        const Finished enabled = enable();
        QCOMPARE(m_privileged->starts, 1);
        QCOMPARE(enabled.actions, (QStringList{u"Prevented display sleep during gameplay"_s,
                                               u"Muted system output for focus mode"_s}));
        QVERIFY(m_optimizer->boostedPIDs().empty() && m_optimizer->throttledPIDs().empty());
    }

    void autoTuneStartsTheHelperOnce()
    {
        createSettled();
        m_latency->outputs = {{u"8.8.8.8"_s, FakeLatencyProbe::summary(12.5)}};
        const Finished finished = complete([&](auto done) { m_optimizer->autoTuneNetwork(done); });
        QVERIFY(finished.success);
        QCOMPARE(m_privileged->starts, 1);
        QCOMPARE(m_privileged->calls.size(), 2);
        QCOMPARE(m_privileged->calls.at(0).constFirst(), u"set-dns"_s);
        QCOMPARE(m_privileged->calls.at(1), QStringList{u"flush-dns"_s});
    }

    void purgeStartsTheHelperOnce()
    {
        createSettled();
        purge();
        QCOMPARE(m_privileged->starts, 1);
    }

    void theWindowStaysFreeWhileAPromptIsOpen()
    {
        m_running = {{200, u"Game"_s, QString(), true}};
        createSettled();
        m_privileged->hold = true;
        Finished finished;
        m_optimizer->enableGameMode(std::nullopt, actionsInto(finished));
        // The prompt is open; the call has returned and the event loop runs.
        QTRY_COMPARE(m_privileged->starts, 1);
        QCoreApplication::processEvents();
        QVERIFY(!finished.called);
        QVERIFY(m_optimizer->gameModeEnabled());
        m_privileged->hold = false;
        m_privileged->release();
        QTRY_VERIFY(finished.called);
        QCOMPARE(finished.actions.size(), 4);
    }

    void goingAwayMidOperationIsSafe()
    {
        m_running = {{200, u"Game"_s, QString(), true}};
        createSettled();
        m_optimizer->toggleAntiShut(true);
        m_privileged->hold = true;
        Finished finished;
        m_optimizer->enableGameMode(std::nullopt, actionsInto(finished));
        m_optimizer->purgeRAM(into(finished));
        QTRY_COMPARE(m_privileged->starts, 2);
        // The window closes while both prompts are open.
        m_optimizer.reset();
        QCoreApplication::processEvents();
        m_clock->advance(10s);
        QCoreApplication::processEvents();
        QVERIFY(!finished.called);
    }

    // ---- One action of a family at a time ----

    // Disable pressed while enable waits at a password dialog (the card was rebuilt, say):
    // disable starts only when enable is done, and restores what enable changed.
    void disableDuringEnableWaitsForIt()
    {
        m_running = {{100, u"Safari"_s, QString(), true}, {200, u"Chess Game"_s, QString(), true}};
        createSettled();
        QSignalSpy boosting(m_optimizer.get(), &SystemOptimizer::isBoostingChanged);
        QVERIFY(!m_optimizer->isBoosting());
        m_privileged->hold = true;
        QStringList order;
        Finished enabled;
        Finished disabled;
        m_optimizer->enableGameMode(std::nullopt, [&](bool success, const QStringList &actions) {
            order.append(u"enable"_s);
            enabled = {true, success, {}, actions};
        });
        QTRY_COMPARE(m_privileged->starts, 1);
        QVERIFY(m_optimizer->isBoosting());
        QCOMPARE(m_optimizer->property("isBoosting").toBool(), true);
        QCOMPARE(boosting.count(), 1);

        m_optimizer->disableGameMode([&](bool success, const QStringList &actions) {
            order.append(u"disable"_s);
            disabled = {true, success, {}, actions};
        });
        QCoreApplication::processEvents();
        // Nothing of the disable has happened: no restore, Game Mode still shown on.
        QCOMPARE(m_privileged->starts, 1);
        QVERIFY(m_privileged->calls.isEmpty());
        QVERIFY(m_optimizer->gameModeEnabled());
        QVERIFY(!enabled.called && !disabled.called);

        m_privileged->hold = false;
        m_privileged->release();
        QTRY_VERIFY(disabled.called);
        QCOMPARE(order, (QStringList{u"enable"_s, u"disable"_s}));
        QCOMPARE(m_privileged->starts, 2);
        QCOMPARE(m_privileged->calls, (QList<QStringList>{renice(200, -10),
                                                          renice(100, 10),
                                                          {u"drop-caches"_s},
                                                          renice(200, 0),
                                                          renice(100, 0)}));
        QCOMPARE(disabled.actions,
                 (QStringList{u"Restored game process priority"_s,
                              u"Restored background process priority"_s, u"Game Mode disabled"_s}));
        QVERIFY(!m_optimizer->gameModeEnabled());
        QVERIFY(m_optimizer->boostedPIDs().empty() && m_optimizer->throttledPIDs().empty());
        QCOMPARE(m_optimizer->lastOptimizationReport()->title, u"Game Mode disabled"_s);
        // Busy from the first press to the end of the second operation, in one stretch.
        QVERIFY(!m_optimizer->isBoosting());
        QCOMPARE(boosting.count(), 2);
    }

    // A second Auto Tune starts measuring only when the first has set and flushed.
    void autoTuneRunsOnceAtATime()
    {
        createSettled();
        m_latency->outputs = {{u"8.8.8.8"_s, FakeLatencyProbe::summary(12.5)}};
        m_privileged->hold = true;
        QStringList messages;
        const auto done = [&](bool, const QString &message) { messages.append(message); };
        m_optimizer->autoTuneNetwork(done);
        QVERIFY(m_optimizer->isChangingDNS());
        QTRY_COMPARE(m_privileged->starts, 1);
        m_optimizer->autoTuneNetwork(done);
        QCoreApplication::processEvents();
        QCoreApplication::processEvents();
        // One baseline and four providers: the second run has measured nothing yet.
        QCOMPARE(m_latency->hosts.size(), 5);
        QCOMPARE(m_privileged->starts, 1);

        m_privileged->hold = false;
        m_privileged->release();
        QTRY_COMPARE(messages.size(), 2);
        QCOMPARE(messages,
                 (QStringList{u"Network tuned with Google"_s, u"Network tuned with Google"_s}));
        QCOMPARE(m_privileged->calls.size(), 4);
        const QStringList set = m_privileged->calls.at(0);
        QCOMPARE(set.mid(0, 4),
                 (QStringList{u"set-dns"_s, u"Wi-Fi"_s, u"8.8.8.8"_s, u"8.8.4.4"_s}));
        QCOMPARE(m_privileged->calls,
                 (QList<QStringList>{set, {u"flush-dns"_s}, set, {u"flush-dns"_s}}));
        QCOMPARE(m_latency->hosts.size(), 12);
        QVERIFY(!m_optimizer->isChangingDNS());
    }

    // Setting a provider while another is being set: applied in the order asked, so the last
    // one asked for is the one in place.
    void dnsChangesKeepTheirOrder()
    {
        createSettled();
        m_privileged->hold = true;
        QStringList messages;
        const auto done = [&](bool, const QString &message) { messages.append(message); };
        m_optimizer->setDNS(u"Google"_s, done);
        QTRY_COMPARE(m_privileged->calls.size(), 1);
        m_optimizer->restoreAutomaticDNS(done);
        m_optimizer->setDNS(u"Cloudflare"_s, done);
        QCoreApplication::processEvents();
        QCOMPARE(m_privileged->calls.size(), 1);
        QVERIFY(m_optimizer->isChangingDNS());
        m_privileged->hold = false;
        m_privileged->release();
        QTRY_COMPARE(messages.size(), 3);
        QCOMPARE(messages, (QStringList{u"DNS set to Google"_s, u"Automatic DNS restored"_s,
                                        u"DNS set to Cloudflare"_s}));
        QCOMPARE(m_optimizer->currentDNS(), (QStringList{u"1.1.1.1"_s, u"1.0.0.1"_s}));
        QVERIFY(!m_optimizer->isChangingDNS());
    }

    // The tools wait for each other: a flush asked for during a purge's prompt runs after the
    // purge has measured its gain, and a revert asked for before a change lands waits for it.
    void toolsRunOneAtATime()
    {
        createSettled();
        QSignalSpy running(m_optimizer.get(), &SystemOptimizer::isRunningToolChanged);
        m_privileged->hold = true;
        QStringList messages;
        const auto done = [&](bool, const QString &message) { messages.append(message); };
        m_optimizer->purgeRAM(done);
        QTRY_COMPARE(m_privileged->calls.size(), 1);
        QVERIFY(m_optimizer->isRunningTool());
        m_optimizer->flushDNS(done);
        m_optimizer->changeResolution(1920, 1080, done);
        m_optimizer->revertResolution(done);
        QCoreApplication::processEvents();
        QCOMPARE(m_privileged->calls, QList<QStringList>{{u"drop-caches"_s}});
        QVERIFY(m_display->changes.isEmpty());

        m_privileged->hold = false;
        m_privileged->release();
        QCoreApplication::processEvents();
        m_clock->advance(SystemOptimizer::purgeSettleTime);
        QTRY_COMPARE(messages.size(), 4);
        QCOMPARE(messages,
                 (QStringList{u"RAM cache cleared. Reclaimed 0.00 GB"_s, u"DNS cache flushed"_s,
                              u"Resolution changed to 1920x1080"_s,
                              u"Resolution changed to 2560x1440"_s}));
        QCOMPARE(m_privileged->calls, (QList<QStringList>{{u"drop-caches"_s}, {u"flush-dns"_s}}));
        QCOMPARE(m_display->changes, (QList<QSize>{QSize(1920, 1080), QSize(2560, 1440)}));
        QVERIFY(!m_optimizer->originalResolution());
        QVERIFY(!m_optimizer->isRunningTool());
        QCOMPARE(running.count(), 2);
    }

    // Each family waits only for its own: DNS and the tools go on while Game Mode is busy.
    void familiesDoNotWaitForEachOther()
    {
        m_running = {{200, u"Chess Game"_s, QString(), true}};
        createSettled();
        m_privileged->hold = true;
        m_optimizer->enableGameMode(std::nullopt, SystemOptimizer::ActionsCompletion());
        QTRY_COMPARE(m_privileged->starts, 1);
        m_optimizer->flushDNS(SystemOptimizer::Completion());
        m_optimizer->setDNS(u"Google"_s, SystemOptimizer::Completion());
        QTRY_COMPARE(m_privileged->starts, 3);
        QVERIFY(m_optimizer->isBoosting() && m_optimizer->isRunningTool() &&
                m_optimizer->isChangingDNS());
        m_privileged->hold = false;
        m_privileged->release();
        QTRY_VERIFY(!m_optimizer->isBoosting());
        QTRY_VERIFY(!m_optimizer->isRunningTool());
        QTRY_VERIFY(!m_optimizer->isChangingDNS());
    }

    // ---- RAM purge ----

    void purgeWaitsASecondAndReportsTheGain()
    {
        createSettled();
        m_privileged->answer = [this](const QStringList &) {
            m_memory->next.inactiveBytes += GiB + GiB / 2;
            return PrivilegedOutcome{true, {}};
        };
        Finished finished;
        m_optimizer->purgeRAM(into(finished));
        QTRY_COMPARE(m_privileged->calls.size(), 1);
        QCoreApplication::processEvents();
        m_clock->advance(999ms);
        QCoreApplication::processEvents();
        QVERIFY(!finished.called);
        m_clock->advance(1ms);
        QTRY_VERIFY(finished.called);
        QVERIFY(finished.success);
        QCOMPARE(finished.message, u"RAM cache cleared. Reclaimed 1.50 GB"_s);
        QCOMPARE(m_privileged->calls, (QList<QStringList>{{u"drop-caches"_s}}));
        const OptimizationReport report = *m_optimizer->lastOptimizationReport();
        QCOMPARE(report.title, u"RAM purged"_s);
        QCOMPARE(report.actions, QStringList{u"Cleared inactive file cache with purge"_s});
        QCOMPARE(*report.reclaimedRAMGB, 1.5);
    }

    void purgeNeverReportsANegativeGain()
    {
        createSettled();
        m_privileged->answer = [this](const QStringList &) {
            m_memory->next.freeBytes -= GiB;
            return PrivilegedOutcome{true, {}};
        };
        const Finished finished = purge();
        QCOMPARE(finished.message, u"RAM cache cleared. Reclaimed 0.00 GB"_s);
        QCOMPARE(*m_optimizer->lastOptimizationReport()->reclaimedRAMGB, 0.0);
    }

    void purgeFailure_data()
    {
        QTest::addColumn<QString>("runnerText");
        QTest::addColumn<QString>("shown");
        QTest::newRow("cancelled") << u"Request dismissed"_s << u"Request dismissed"_s;
        QTest::newRow("no text") << QString() << u"Failed to clear RAM"_s;
    }

    void purgeFailure()
    {
        QFETCH(QString, runnerText);
        QFETCH(QString, shown);
        createSettled();
        m_privileged->answer = [&](const QStringList &) {
            return PrivilegedOutcome{false, runnerText};
        };
        const Finished finished = purge();
        QVERIFY(!finished.success);
        QCOMPARE(finished.message, shown);
        const OptimizationReport report = *m_optimizer->lastOptimizationReport();
        QCOMPARE(report.title, u"RAM purge failed"_s);
        QCOMPARE(report.actions, QStringList{shown});
        QCOMPARE(*report.reclaimedRAMGB, 0.0);
    }

    void unreadableMemoryCountsAsZero()
    {
        createSettled();
        m_memory->next = {};
        QCOMPARE(m_optimizer->availableMemoryGB(), 0.0);
        m_memory->next.freeBytes = 3 * GiB;
        m_memory->next.inactiveBytes = GiB / 2;
        QCOMPARE(m_optimizer->availableMemoryGB(), 3.5);
    }

    // ---- Performance HUD ----

    void hudSwitch()
    {
        createSettled();
        const Finished on = complete([&](auto done) { m_optimizer->toggleMetalHUD(true, done); });
        QVERIFY(on.success);
        QCOMPARE(
            on.message,
            u"Metal HUD enabled. Please RESTART your game to see the HUD in the top right corner."_s);
        QTRY_VERIFY(m_optimizer->metalHUDEnabled());
        const Finished off = complete([&](auto done) { m_optimizer->toggleMetalHUD(false, done); });
        QCOMPARE(off.message, u"Metal HUD disabled. Please restart any running games."_s);
        QTRY_VERIFY(!m_optimizer->metalHUDEnabled());
        QCOMPARE(m_hud->writes, (QList<bool>{true, false}));
    }

    void hudSwitchWithoutTheOverlayInstalled()
    {
        createSettled();
        StandardOutputCapture installed;
        complete([&](auto done) { m_optimizer->toggleMetalHUD(true, done); });
        QCOMPARE(installed.stop(), QByteArray());

        // The switch still works and keeps its texts; the console says why nothing will show.
        m_hud->missing = u"MangoHud is not installed (no Vulkan layer manifest for it)"_s;
        StandardOutputCapture console;
        const Finished on = complete([&](auto done) { m_optimizer->toggleMetalHUD(true, done); });
        const Finished off = complete([&](auto done) { m_optimizer->toggleMetalHUD(false, done); });
        QCOMPARE(console.stop(), "Metal HUD error: MangoHud is not installed (no Vulkan layer "
                                 "manifest for it)\n"_ba);
        QVERIFY(on.success);
        QCOMPARE(
            on.message,
            u"Metal HUD enabled. Please RESTART your game to see the HUD in the top right corner."_s);
        QVERIFY(off.success);
        QCOMPARE(m_hud->writes, (QList<bool>{true, true, false}));
    }

    void hudSwitchThatCannotBeWritten()
    {
        createSettled();
        m_hud->writable = false;
        for (bool enable : {true, false}) {
            const Finished finished =
                complete([&](auto done) { m_optimizer->toggleMetalHUD(enable, done); });
            QVERIFY(!finished.success);
            // The hint names YES in both directions.
            QCOMPARE(
                finished.message,
                u"Failed to toggle Metal HUD. Try running manually: defaults write -g MetalForceHudEnabled -bool YES"_s);
        }
        QCoreApplication::processEvents();
        QVERIFY(!m_optimizer->metalHUDEnabled());
    }

    // ---- Anti-sleep and focus mode ----

    void antiSleepTwiceHoldsOne()
    {
        createSettled();
        m_optimizer->toggleAntiShut(true);
        m_optimizer->toggleAntiShut(true);
        QTRY_VERIFY(m_optimizer->antiShutEnabled());
        QCoreApplication::processEvents();
        QCOMPARE(m_sleep->inhibits, 1);
        QVERIFY(!m_optimizer->caffeinateTimer());
        m_optimizer->toggleAntiShut(false);
        QTRY_VERIFY(!m_optimizer->antiShutEnabled());
        QCOMPARE(m_sleep->releases, 1);
    }

    void antiSleepSwitchedOffBeforeTheDesktopAnswers()
    {
        createSettled();
        m_sleep->late = true;
        m_optimizer->toggleAntiShut(true);
        QTRY_COMPARE(m_sleep->inhibits, 1);
        m_optimizer->toggleAntiShut(false);
        QCoreApplication::processEvents();
        m_sleep->answer();
        QCoreApplication::processEvents();
        // The late answer is given back, and nothing says the display is kept awake.
        QVERIFY(!m_sleep->held);
        QCOMPARE(m_sleep->releases, 1);
        QVERIFY(!m_optimizer->antiShutEnabled());

        // On, off and on again before the answer: it is kept.
        m_optimizer->toggleAntiShut(true);
        QTRY_COMPARE(m_sleep->inhibits, 2);
        m_optimizer->toggleAntiShut(false);
        QCoreApplication::processEvents();
        m_optimizer->toggleAntiShut(true);
        QCoreApplication::processEvents();
        m_sleep->answer();
        QTRY_VERIFY(m_optimizer->antiShutEnabled());
        QVERIFY(m_sleep->held);
        QCOMPARE(m_sleep->inhibits, 2);
        QCOMPARE(m_sleep->releases, 1);
    }

    void antiSleepForThirtyMinutes()
    {
        createSettled();
        m_optimizer->toggleAntiShut(true, 30);
        QTRY_VERIFY(m_optimizer->antiShutEnabled());
        QVERIFY(m_optimizer->caffeinateTimer());
        m_clock->advance(1799s);
        QCoreApplication::processEvents();
        QVERIFY(m_optimizer->antiShutEnabled());
        m_clock->advance(1s);
        QTRY_VERIFY(!m_optimizer->antiShutEnabled());
        QCOMPARE(m_sleep->releases, 1);
        QVERIFY(!m_optimizer->caffeinateTimer());
    }

    void antiSleepWithoutMinutesHasNoTimer_data()
    {
        QTest::addColumn<int>("minutes");
        QTest::newRow("zero") << 0;
        QTest::newRow("negative") << -5;
    }

    void antiSleepWithoutMinutesHasNoTimer()
    {
        QFETCH(int, minutes);
        createSettled();
        m_optimizer->toggleAntiShut(true, minutes);
        QTRY_VERIFY(m_optimizer->antiShutEnabled());
        QVERIFY(!m_optimizer->caffeinateTimer());
    }

    void antiSleepRefused()
    {
        createSettled();
        m_sleep->refusal = u"no session bus"_s;
        StandardOutputCapture console;
        m_optimizer->toggleAntiShut(true, 5);
        QTRY_COMPARE(m_sleep->inhibits, 1);
        QTRY_VERIFY(m_optimizer->caffeinateTimer());
        // The line keeps the prefix every keep-awake failure has always had.
        QCOMPARE(console.stop(), "Failed to start caffeinate: no session bus\n"_ba);
        QVERIFY(!m_optimizer->antiShutEnabled());
        // Game Mode still writes its line.
        QCOMPARE(enable().actions.constFirst(), u"Prevented display sleep during gameplay"_s);
        QVERIFY(!m_optimizer->antiShutEnabled());
    }

    void focusFollowsTheRequestEvenWhenRefused()
    {
        createSettled();
        m_audio->accepts = false;
        m_optimizer->toggleFocusMode(true);
        QVERIFY(!m_optimizer->focusModeEnabled());
        QTRY_VERIFY(m_optimizer->focusModeEnabled());
        QCOMPARE(m_audio->requests, QList<bool>{true});
        m_optimizer->toggleFocusMode(false);
        QTRY_VERIFY(!m_optimizer->focusModeEnabled());
        QCOMPARE(m_audio->requests, (QList<bool>{true, false}));
    }

    // ---- Resolution ----

    void changeTwiceThenRevert()
    {
        createSettled();
        const Finished first =
            complete([&](auto done) { m_optimizer->changeResolution(1920, 1080, done); });
        QVERIFY(first.success);
        QCOMPARE(first.message, u"Resolution changed to 1920x1080"_s);
        QCOMPARE(*m_optimizer->originalResolution(), QSize(2560, 1440));
        QCOMPARE(m_optimizer->property("originalResolution").toSize(), QSize(2560, 1440));
        complete([&](auto done) { m_optimizer->changeResolution(1280, 720, done); });
        QCOMPARE(m_display->queries, 1);
        const Finished reverted = complete([&](auto done) { m_optimizer->revertResolution(done); });
        QCOMPARE(reverted.message, u"Resolution changed to 2560x1440"_s);
        QCOMPARE(m_display->changes,
                 (QList<QSize>{QSize(1920, 1080), QSize(1280, 720), QSize(2560, 1440)}));
        QVERIFY(!m_optimizer->originalResolution());
    }

    void revertBeforeAnyChangeDoesNothing()
    {
        createSettled();
        bool called = false;
        m_optimizer->revertResolution([&](bool, const QString &) { called = true; });
        QTest::qWait(20);
        QVERIFY(!called);
        QVERIFY(m_display->changes.isEmpty());
        QCOMPARE(m_display->queries, 0);
    }

    void aRefusedChange()
    {
        createSettled();
        m_display->accepts = false;
        const Finished finished =
            complete([&](auto done) { m_optimizer->changeResolution(1920, 1080, done); });
        QVERIFY(!finished.success);
        QCOMPARE(finished.message, u"Resolution failed to change to 1920x1080"_s);
        // The mode seen before stays known, for a later revert.
        QCOMPARE(*m_optimizer->originalResolution(), QSize(2560, 1440));
        const Finished reverted = complete([&](auto done) { m_optimizer->revertResolution(done); });
        QCOMPARE(reverted.message, u"Resolution failed to change to 2560x1440"_s);
        QVERIFY(m_optimizer->originalResolution());
    }

    void anUnreadableModeIsNotRemembered()
    {
        createSettled();
        m_display->queryError = u"xrandr could not be run"_s;
        const Finished finished =
            complete([&](auto done) { m_optimizer->changeResolution(1920, 1080, done); });
        QVERIFY(finished.success);
        QVERIFY(!m_optimizer->originalResolution());
        // Asked again before the next change.
        complete([&](auto done) { m_optimizer->changeResolution(1920, 1080, done); });
        QCOMPARE(m_display->queries, 2);
    }

    // ---- DNS ----

    void setGoogleOnWiFi()
    {
        createSettled();
        QSignalSpy changed(m_optimizer.get(), &SystemOptimizer::currentDNSChanged);
        const Finished finished =
            complete([&](auto done) { m_optimizer->setDNS(u"Google"_s, done); });
        QVERIFY(finished.success);
        QCOMPARE(finished.message, u"DNS set to Google"_s);
        QCOMPARE(m_privileged->calls,
                 (QList<QStringList>{{u"set-dns"_s, u"Wi-Fi"_s, u"8.8.8.8"_s, u"8.8.4.4"_s,
                                      u"2001:4860:4860::8888"_s, u"2001:4860:4860::8844"_s}}));
        QCOMPARE(m_optimizer->currentDNS(), (QStringList{u"8.8.8.8"_s, u"8.8.4.4"_s}));
        QCOMPARE(changed.size(), 1);
        // Setting a provider publishes no report.
        QVERIFY(!m_optimizer->lastOptimizationReport());
    }

    void connectionNamesTravelAsOneArgument_data()
    {
        QTest::addColumn<QString>("target");
        for (const QString &name : {u"7d1e8c2a-5f4b-4e3a-8c9d-1a2b3c4d5e6f"_s, u"--help"_s,
                                    u"$(reboot)"_s, u"a\"b"_s, u"x; rm -rf ~"_s, u"new\nline"_s}) {
            QTest::addRow("%s", qPrintable(name)) << name;
        }
    }

    void connectionNamesTravelAsOneArgument()
    {
        QFETCH(QString, target);
        createSettled();
        m_services->service = {target, {}};
        complete([&](auto done) { m_optimizer->setDNS(u"Cloudflare"_s, done); });
        QCOMPARE(m_privileged->calls,
                 (QList<QStringList>{{u"set-dns"_s, target, u"1.1.1.1"_s, u"1.0.0.1"_s,
                                      u"2606:4700:4700::1111"_s, u"2606:4700:4700::1001"_s}}));
    }

    void withoutAConnectionNothingIsAskedOfTheHelper()
    {
        // The placeholder service names nothing here: the helper's only way to act on it would
        // be the machine's resolv.conf.
        createSettled();
        m_services->service = {QString(), u"nmcli could not be started"_s};
        const Finished set = complete([&](auto done) { m_optimizer->setDNS(u"AdGuard"_s, done); });
        QVERIFY(!set.success);
        QCOMPARE(set.message, u"No network connection found"_s);
        const Finished restored =
            complete([&](auto done) { m_optimizer->restoreAutomaticDNS(done); });
        QVERIFY(!restored.success);
        QCOMPARE(restored.message, u"No network connection found"_s);
        QVERIFY(m_privileged->calls.isEmpty());
        QVERIFY(m_optimizer->currentDNS().isEmpty());
    }

    void restoreAutomaticDNS()
    {
        createSettled();
        const QString uuid = u"7d1e8c2a-5f4b-4e3a-8c9d-1a2b3c4d5e6f"_s;
        m_services->service = {uuid, {}};
        complete([&](auto done) { m_optimizer->setDNS(u"Google"_s, done); });
        QSignalSpy changed(m_optimizer.get(), &SystemOptimizer::currentDNSChanged);
        const Finished finished =
            complete([&](auto done) { m_optimizer->restoreAutomaticDNS(done); });
        QVERIFY(finished.success);
        QCOMPARE(finished.message, u"Automatic DNS restored"_s);
        QCOMPARE(m_privileged->calls.constLast(), (QStringList{u"restore-dns"_s, uuid}));
        QVERIFY(m_optimizer->currentDNS().isEmpty());
        QCOMPARE(changed.size(), 1);
        QVERIFY(!m_optimizer->lastOptimizationReport());
    }

    void restoreAutomaticDNSCancelled()
    {
        createSettled();
        complete([&](auto done) { m_optimizer->setDNS(u"Google"_s, done); });
        m_privileged->answer = [](const QStringList &) {
            return FakePrivilegedRunner::dismissed();
        };
        const Finished finished =
            complete([&](auto done) { m_optimizer->restoreAutomaticDNS(done); });
        QVERIFY(!finished.success);
        QCOMPARE(finished.message, u"Request dismissed"_s);
        QCOMPARE(m_optimizer->currentDNS(), (QStringList{u"8.8.8.8"_s, u"8.8.4.4"_s}));
    }

    void unknownProvider()
    {
        createSettled();
        const Finished finished =
            complete([&](auto done) { m_optimizer->setDNS(u"Quad9"_s, done); });
        QVERIFY(!finished.success);
        QCOMPARE(finished.message, u"Unknown provider"_s);
        QVERIFY(m_privileged->calls.isEmpty());
        QCOMPARE(m_services->asked, 0);
    }

    void setCancelled()
    {
        createSettled();
        m_privileged->answer = [](const QStringList &) {
            return FakePrivilegedRunner::dismissed();
        };
        const Finished finished =
            complete([&](auto done) { m_optimizer->setDNS(u"OpenDNS"_s, done); });
        QVERIFY(!finished.success);
        QCOMPARE(finished.message, u"Request dismissed"_s);
        QVERIFY(m_optimizer->currentDNS().isEmpty());
    }

    void flush()
    {
        createSettled();
        const Finished done = complete([&](auto finished) { m_optimizer->flushDNS(finished); });
        QVERIFY(done.success);
        QCOMPARE(done.message, u"DNS cache flushed"_s);
        QCOMPARE(m_privileged->calls, (QList<QStringList>{{u"flush-dns"_s}}));
        m_privileged->answer = [](const QStringList &) {
            return PrivilegedOutcome{false, u"Could not flush the DNS cache"_s};
        };
        const Finished failed = complete([&](auto finished) { m_optimizer->flushDNS(finished); });
        QVERIFY(!failed.success);
        QCOMPARE(failed.message, u"Failed to flush DNS"_s);
        QVERIFY(!m_optimizer->lastOptimizationReport());
    }

    void autoTunePicksTheFastest()
    {
        createSettled();
        m_latency->outputs = {
            {u"1.1.1.1"_s, FakeLatencyProbe::summary(30.0)},
            {u"8.8.8.8"_s, FakeLatencyProbe::summary(12.5)},
            {u"208.67.222.222"_s, FakeLatencyProbe::summary(40.0)},
            {u"94.140.14.14"_s, FakeLatencyProbe::summary(25.0)},
        };
        Finished finished;
        m_optimizer->autoTuneNetwork(into(finished));
        // Returns at once; nothing has been measured yet.
        QVERIFY(m_latency->hosts.isEmpty());
        QTRY_VERIFY(finished.called);
        QVERIFY(finished.success);
        QCOMPARE(finished.message, u"Network tuned with Google"_s);
        QCOMPARE(m_latency->hosts.constFirst(), u"1.1.1.1"_s);
        QCOMPARE(m_latency->hosts.size(), 6);
        QCOMPARE(m_latency->hosts.constLast(), u"8.8.8.8"_s);
        QStringList probed = m_latency->hosts.mid(1, 4);
        probed.sort();
        QCOMPARE(probed,
                 (QStringList{u"1.1.1.1"_s, u"208.67.222.222"_s, u"8.8.8.8"_s, u"94.140.14.14"_s}));
        QCOMPARE(m_privileged->calls,
                 (QList<QStringList>{{u"set-dns"_s, u"Wi-Fi"_s, u"8.8.8.8"_s, u"8.8.4.4"_s,
                                      u"2001:4860:4860::8888"_s, u"2001:4860:4860::8844"_s},
                                     {u"flush-dns"_s}}));
        const OptimizationReport report = *m_optimizer->lastOptimizationReport();
        QCOMPARE(report.title, u"Network tuned"_s);
        QCOMPARE(report.actions,
                 (QStringList{u"Selected fastest DNS: Google"_s, u"Flushed DNS cache"_s}));
        QCOMPARE(report.selectedDNSProvider, u"Google"_s);
        QCOMPARE(report.latencyBeforeMS, 30.0);
        QCOMPARE(report.latencyAfterMS, 12.5);
        QVERIFY(!report.reclaimedRAMGB);
        QCOMPARE(m_optimizer->currentDNS(), (QStringList{u"8.8.8.8"_s, u"8.8.4.4"_s}));
    }

    void autoTuneWithNothingAnswering()
    {
        createSettled();
        const Finished finished = complete([&](auto done) { m_optimizer->autoTuneNetwork(done); });
        QVERIFY(!finished.success);
        QCOMPARE(finished.message, u"Could not benchmark DNS providers"_s);
        QVERIFY(m_optimizer->currentDNS().isEmpty());
        QVERIFY(m_privileged->calls.isEmpty());
        QVERIFY(!m_optimizer->lastOptimizationReport());
    }

    void autoTuneWithoutABaseline()
    {
        createSettled();
        // The baseline host is Cloudflare's primary too: only AdGuard answers.
        m_latency->outputs = {{u"94.140.14.14"_s, FakeLatencyProbe::summary(20.0)}};
        const Finished finished = complete([&](auto done) { m_optimizer->autoTuneNetwork(done); });
        QCOMPARE(finished.message, u"Network tuned with AdGuard"_s);
        const OptimizationReport report = *m_optimizer->lastOptimizationReport();
        QVERIFY(!report.latencyBeforeMS);
        QCOMPARE(report.latencyAfterMS, 20.0);
        QVERIFY(!m_optimizer->lastOptimizationReport()->latencyBeforeMS);
    }

    void autoTuneSaysFlushedEvenWhenTheFlushFailed()
    {
        createSettled();
        m_latency->outputs = {{u"8.8.8.8"_s, FakeLatencyProbe::summary(9.0)}};
        m_privileged->answer = [](const QStringList &call) {
            return call.constFirst() == u"flush-dns"_s ? PrivilegedOutcome{false, u"x"_s}
                                                       : PrivilegedOutcome{true, {}};
        };
        const Finished finished = complete([&](auto done) { m_optimizer->autoTuneNetwork(done); });
        QVERIFY(finished.success);
        QCOMPARE(m_optimizer->lastOptimizationReport()->actions.constLast(),
                 u"Flushed DNS cache"_s);
    }

    void autoTuneWhoseSetIsCancelled()
    {
        createSettled();
        m_latency->outputs = {{u"8.8.8.8"_s, FakeLatencyProbe::summary(9.0)}};
        m_privileged->answer = [](const QStringList &) {
            return FakePrivilegedRunner::dismissed();
        };
        const Finished finished = complete([&](auto done) { m_optimizer->autoTuneNetwork(done); });
        QVERIFY(!finished.success);
        QCOMPARE(finished.message, u"Request dismissed"_s);
        QCOMPARE(m_privileged->calls.size(), 1);
        QVERIFY(!m_optimizer->lastOptimizationReport());
        QVERIFY(m_optimizer->currentDNS().isEmpty());
    }

    void providerTable()
    {
        QCOMPARE(SystemOptimizer::dnsProviders.value(u"Cloudflare"_s),
                 (QStringList{u"1.1.1.1"_s, u"1.0.0.1"_s}));
        QCOMPARE(SystemOptimizer::dnsProviders.value(u"Google"_s),
                 (QStringList{u"8.8.8.8"_s, u"8.8.4.4"_s}));
        QCOMPARE(SystemOptimizer::dnsProviders.value(u"OpenDNS"_s),
                 (QStringList{u"208.67.222.222"_s, u"208.67.220.220"_s}));
        QCOMPARE(SystemOptimizer::dnsProviders.value(u"AdGuard"_s),
                 (QStringList{u"94.140.14.14"_s, u"94.140.15.15"_s}));
    }
};

KV_TEST_MAIN(TestSystemOptimizer)
#include "tst_systemoptimizer.moc"
