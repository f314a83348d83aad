#pragma once

#include "OptimizerCompletion.h"
#include "OptimizerPublisher.h"
#include "platform/AudioOutput.h"
#include "platform/Clock.h"
#include "platform/DisplayResolution.h"
#include "platform/DisplaySleepInhibitor.h"
#include "platform/MemoryCounters.h"
#include "platform/PerformanceHud.h"
#include "platform/PrivilegedRunner.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QSize>

#include <chrono>
#include <memory>
#include <optional>

/// The stand-alone switches and actions of the optimizer, some also steps of Game Mode: the
/// memory purge with its measured gain, the performance HUD, keeping the display awake, muting
/// the output (focus mode) and a temporary display resolution with its revert.
class SystemTools : public QObject {
    Q_OBJECT

public:
    static constexpr double bytesToGiB = 1.0 / 1073741824.0;
    static constexpr std::chrono::milliseconds purgeSettleTime{1000};

    /// The parts and the clock must outlive the tools.
    struct Parts {
        platform::PrivilegedRunner &privileged;
        platform::MemoryCounters &memory;
        platform::PerformanceHud &hud;
        platform::DisplaySleepInhibitor &displaySleep;
        platform::AudioOutput &audio;
        platform::DisplayResolution &display;
    };

    SystemTools(platform::Clock &clock, Parts parts, OptimizerPublisher &publisher,
                QObject *parent = nullptr);

    /// Memory the kernel can hand out without swapping: free plus inactive, in GiB; 0 when the
    /// counters cannot be read.
    [[nodiscard]] double availableMemoryGB() const;
    /// Whether the HUD switch is stored as on.
    [[nodiscard]] bool storedMetalHUDState() const;
    /// The one-shot timer that ends anti-sleep, while one is scheduled.
    [[nodiscard]] const platform::Timer *caffeinateTimer() const { return m_caffeinateTimer.get(); }

    /// The root helper's step that drops the page cache.
    [[nodiscard]] static platform::PrivilegedStep dropCachesStep();
    /// Drops the page cache through the root helper.
    QCoro::Task<platform::PrivilegedOutcome> dropCaches();
    QCoro::Task<> purgeRAM(OptimizerCompletion completion);
    QCoro::Task<> toggleMetalHUD(bool enable, OptimizerCompletion completion);
    /// With minutes of 1 or more, anti-sleep switches itself off after that long.
    QCoro::Task<> startAntiShut(std::optional<int> minutes);
    QCoro::Task<> stopAntiShut();
    QCoro::Task<> setFocusMode(bool enable);
    QCoro::Task<> changeResolution(QSize size, OptimizerCompletion completion);
    /// Does nothing (and never completes) when no change was made before.
    QCoro::Task<> revertResolution(OptimizerCompletion completion);

private:
    QCoro::Task<> applyResolution(QSize size, bool reverting, OptimizerCompletion completion);
    QCoro::Task<std::optional<QSize>> getCurrentResolution();
    QCoro::Task<> wait(std::chrono::milliseconds span);

    platform::Clock &m_clock;
    Parts m_parts;
    OptimizerPublisher &m_publisher;
    bool m_antiShutStarting = false;
    std::unique_ptr<platform::Timer> m_caffeinateTimer;
};
