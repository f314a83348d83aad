#include "SystemTools.h"

#include "DiagnosticLine.h"

#include <QCoro/QCoroSignal>
#include <QPointer>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

using platform::PrivilegedOutcome;

namespace {

// The root helper's action.
const QString dropCachesAction = QStringLiteral("drop-caches");

QString sizeText(QSize size)
{
    return QString::number(size.width()) + u'x' + QString::number(size.height());
}

} // namespace

SystemTools::SystemTools(platform::Clock &clock, Parts parts, OptimizerPublisher &publisher,
                         QObject *parent)
    : QObject(parent)
    , m_clock(clock)
    , m_parts(parts)
    , m_publisher(publisher)
{
}

// ---- RAM purge ----------------------------------------------------------------------------

double SystemTools::availableMemoryGB() const
{
    const platform::MemoryCounters::Sample sample = m_parts.memory.sample();
    return double(sample.freeBytes + sample.inactiveBytes) * bytesToGiB;
}

platform::PrivilegedStep SystemTools::dropCachesStep()
{
    return {dropCachesAction, {}, false};
}

QCoro::Task<PrivilegedOutcome> SystemTools::dropCaches()
{
    co_return co_await m_parts.privileged.run(dropCachesAction, {});
}

QCoro::Task<> SystemTools::wait(std::chrono::milliseconds span)
{
    const std::unique_ptr<platform::Timer> timer = m_clock.createTimer();
    timer->setSingleShot(true);
    timer->start(span);
    co_await qCoro(timer.get(), &platform::Timer::timeout);
}

QCoro::Task<> SystemTools::purgeRAM(OptimizerCompletion completion)
{
    const QPointer<SystemTools> self(this);
    const double before = availableMemoryGB();
    const PrivilegedOutcome outcome = co_await dropCaches();
    if (!self) {
        co_return;
    }
    // The counters take a moment to show the freed memory.
    co_await wait(purgeSettleTime);
    if (!self) {
        co_return;
    }
    const double reclaimed = std::max(0.0, availableMemoryGB() - before);
    const QString failure =
        outcome.message.isEmpty() ? QStringLiteral("Failed to clear RAM") : outcome.message;

    OptimizationReport report;
    report.title =
        outcome.success ? QStringLiteral("RAM purged") : QStringLiteral("RAM purge failed");
    report.actions = {outcome.success ? QStringLiteral("Cleared inactive file cache with purge")
                                      : failure};
    report.reclaimedRAMGB = reclaimed;
    m_publisher.publishReport(std::move(report));
    if (completion) {
        completion(outcome.success,
                   outcome.success
                       ? QString::asprintf("RAM cache cleared. Reclaimed %.2f GB", reclaimed)
                       : failure);
    }
}

// ---- Performance HUD ----------------------------------------------------------------------

bool SystemTools::storedMetalHUDState() const
{
    const std::optional<QString> stored = m_parts.hud.storedValue();
    const QString value = stored ? stored->trimmed().toLower() : QString();
    return value == u"1" || value == u"yes";
}

QCoro::Task<> SystemTools::toggleMetalHUD(bool enable, OptimizerCompletion completion)
{
    if (!m_parts.hud.write(enable)) {
        if (completion) {
            completion(false, QStringLiteral("Failed to toggle Metal HUD. Try running manually: "
                                             "defaults write -g MetalForceHudEnabled -bool YES"));
        }
        co_return;
    }
    if (enable) {
        if (const QString missing = m_parts.hud.unavailableReason(); !missing.isEmpty()) {
            DiagnosticLine::print(u"Metal HUD error: "_s + missing);
        }
    }
    QMetaObject::invokeMethod(
        this, [this, enable] { m_publisher.publishMetalHUDEnabled(enable); }, Qt::QueuedConnection);
    if (completion) {
        completion(true, enable ? QStringLiteral("Metal HUD enabled. Please RESTART your game to "
                                                 "see the HUD in the top right corner.")
                                : QStringLiteral("Metal HUD disabled. Please restart any running "
                                                 "games."));
    }
}

// ---- Anti-sleep and focus mode ------------------------------------------------------------

QCoro::Task<> SystemTools::startAntiShut(std::optional<int> minutes)
{
    const QPointer<SystemTools> self(this);
    // One inhibition at a time: a request made while another is on its way joins it, which
    // also undoes a switch-off made meanwhile.
    if (!m_parts.displaySleep.isHeld()) {
        const bool joining = std::exchange(m_antiShutStarting, true);
        const QString error = co_await m_parts.displaySleep.inhibit();
        if (!self) {
            co_return;
        }
        if (!joining) {
            m_antiShutStarting = false;
        }
        // Switched off before the desktop answered: the answer was given back, nothing is on.
        if (error.isEmpty() && m_parts.displaySleep.isHeld()) {
            m_publisher.publishAntiShutEnabled(true);
        } else if (!error.isEmpty()) {
            DiagnosticLine::print(u"Failed to start caffeinate: "_s + error);
        }
    }
    // Scheduled even when the inhibition failed.
    if (minutes && *minutes >= 1) {
        if (m_caffeinateTimer) {
            m_caffeinateTimer->stop();
        }
        m_caffeinateTimer = m_clock.createTimer();
        m_caffeinateTimer->setSingleShot(true);
        connect(m_caffeinateTimer.get(), &platform::Timer::timeout, this,
                [this] { stopAntiShut(); });
        m_caffeinateTimer->start(std::chrono::minutes(*minutes));
    }
}

QCoro::Task<> SystemTools::stopAntiShut()
{
    const QPointer<SystemTools> self(this);
    if (m_caffeinateTimer) {
        // This may run inside the timer's own signal: let it finish before it goes.
        m_caffeinateTimer->stop();
        m_caffeinateTimer.release()->deleteLater();
    }
    co_await m_parts.displaySleep.release();
    if (!self) {
        co_return;
    }
    m_publisher.publishAntiShutEnabled(false);
}

QCoro::Task<> SystemTools::setFocusMode(bool enable)
{
    // The flag follows the request, whether or not the sound system took it.
    QMetaObject::invokeMethod(
        this, [this, enable] { m_publisher.publishFocusModeEnabled(enable); },
        Qt::QueuedConnection);
    co_await m_parts.audio.setMuted(enable);
}

// ---- Display resolution -------------------------------------------------------------------

QCoro::Task<std::optional<QSize>> SystemTools::getCurrentResolution()
{
    const platform::DisplayResolution::Query query = co_await m_parts.display.current();
    if (!query.size && !query.error.isEmpty()) {
        DiagnosticLine::print(u"Resolution fetch error: "_s + query.error);
    }
    co_return query.size;
}

QCoro::Task<> SystemTools::changeResolution(QSize size, OptimizerCompletion completion)
{
    return applyResolution(size, false, std::move(completion));
}

QCoro::Task<> SystemTools::revertResolution(OptimizerCompletion completion)
{
    const std::optional<QSize> original = m_publisher.originalResolution();
    if (!original) {
        co_return;
    }
    co_await applyResolution(*original, true, std::move(completion));
}

QCoro::Task<> SystemTools::applyResolution(QSize size, bool reverting,
                                           OptimizerCompletion completion)
{
    const QPointer<SystemTools> self(this);
    // Captured once, before the first change: later changes revert to the same mode.
    if (!m_publisher.originalResolution()) {
        const std::optional<QSize> current = co_await getCurrentResolution();
        if (!self) {
            co_return;
        }
        if (current && !m_publisher.originalResolution()) {
            m_publisher.publishOriginalResolution(current);
        }
    }
    const bool changed = co_await m_parts.display.change(size);
    if (!self) {
        co_return;
    }
    if (changed && reverting) {
        m_publisher.publishOriginalResolution(std::nullopt);
    }
    if (completion) {
        completion(changed,
                   (changed ? u"Resolution changed to "_s : u"Resolution failed to change to "_s) +
                       sizeText(size));
    }
}
