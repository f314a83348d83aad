#include "AppStateManager.h"

#include "ConfigInfo.h"
#include "FileManagerHelper.h"
#include "RecordFile.h"

AppStateManager::AppStateManager(QObject *parent)
    : AppStateManager(FileManagerHelper::appSupportDir(), platform::Clock::system(), parent)
{
}

AppStateManager::AppStateManager(QString appFolder, platform::Clock &clock, QObject *parent)
    : QObject(parent)
    , m_appFolder(std::move(appFolder))
    , m_clock(clock)
{
}

void AppStateManager::setCurrentState(AppScreenState::Value state)
{
    assign(state, 0);
}

void AppStateManager::transitionTo(AppScreenState::Value state, bool animated)
{
    const int duration = animated ? animatedTransitionMs : 0;
    QMetaObject::invokeMethod(
        this, [this, state, duration] { assign(state, duration); }, Qt::QueuedConnection);
}

bool AppStateManager::completeSetup()
{
    ConfigInfo record;
    if (const std::optional<ConfigInfo> existing = RecordFile::load<ConfigInfo>(m_appFolder)) {
        record.installDate = existing->installDate;
    } else {
        record.installDate = double(m_clock.now().toMSecsSinceEpoch()) / 1000.0;
    }
    record.firstRunComplete = true;
    return RecordFile::save(m_appFolder, record);
}

void AppStateManager::assign(AppScreenState::Value state, int durationMs)
{
    // Every assignment notifies, as observers of the published state expect, even an equal one.
    m_currentState = state;
    m_transitionDuration = durationMs;
    Q_EMIT currentStateChanged();
}
