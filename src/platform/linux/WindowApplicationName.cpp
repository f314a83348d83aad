#include "WindowApplicationName.h"

#include "ApplicationName.h"
#include "platform/SteamLibrary.h"

namespace platform {

WindowApplicationName::WindowApplicationName(DesktopEntryIndex &index, QStringList steamRoots)
    : m_index(index)
    , m_steamRoots(std::move(steamRoots))
{
}

void WindowApplicationName::describe(RunningApplication &application, const QString &instance,
                                     const QString &windowClass, bool mayBeProton)
{
    QString steamName;
    const QString appId = mayBeProton ? SteamLibrary::appIdOfWindowClass(windowClass) : QString();
    if (!appId.isEmpty()) {
        if (!m_steamLibraries) {
            m_steamLibraries = SteamLibrary::libraries(m_steamRoots);
        }
        steamName = SteamLibrary::gameName(*m_steamLibraries, appId);
    }
    if (!steamName.isEmpty()) {
        application.name = steamName;
        application.bundleIdentifier = windowClass;
    } else if (const auto entry = m_index.lookup(instance, windowClass)) {
        application.name = entry->name.isEmpty() ? windowClass : entry->name;
        application.bundleIdentifier = entry->id;
    } else {
        application.name = ApplicationName::fromProgram(windowClass);
        application.bundleIdentifier = instance;
    }
}

} // namespace platform
