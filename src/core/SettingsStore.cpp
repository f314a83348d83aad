#include "SettingsStore.h"

#include "AppSettings.h"
#include "FileManagerHelper.h"
#include "RecordFile.h"

SettingsStore::SettingsStore(QObject *parent)
    : SettingsStore(FileManagerHelper::appSupportDir(), parent)
{
}

SettingsStore::SettingsStore(QString appFolder, QObject *parent)
    : QObject(parent)
    , m_appFolder(std::move(appFolder))
{
    if (const std::optional<AppSettings> loaded = RecordFile::load<AppSettings>(m_appFolder)) {
        m_launchOnStartup = loaded->launchOnStartup;
        m_autoOptimize = loaded->autoOptimize;
    }
}

// Every assignment publishes and saves, also when the value is unchanged: there is no comparison
// and no debounce, so the file always reflects the last assignment.
void SettingsStore::setLaunchOnStartup(bool value)
{
    m_launchOnStartup = value;
    Q_EMIT launchOnStartupChanged();
    save();
}

void SettingsStore::setAutoOptimize(bool value)
{
    m_autoOptimize = value;
    Q_EMIT autoOptimizeChanged();
    save();
}

void SettingsStore::save() const
{
    // A failed write is dropped: the published value stays as the user set it.
    RecordFile::save(m_appFolder, AppSettings{m_launchOnStartup, m_autoOptimize});
}
