#pragma once

#include "DesktopEntryIndex.h"
#include "platform/RunningApplications.h"

#include <QStringList>

#include <optional>

namespace platform {

/// Names the application a window belongs to, for one listing of the windows: a game run
/// through Proton ("steam_app_N") after its Steam manifest, else the desktop entry its instance
/// or class matches, else the program itself.
class WindowApplicationName {
public:
    WindowApplicationName(DesktopEntryIndex &index, QStringList steamRoots);

    /// Sets the application's name and identifier. mayBeProton is false for a native Wayland
    /// window, whose app id is its own choice. Steam's libraries are read on the first Proton
    /// window only.
    void describe(RunningApplication &application, const QString &instance,
                  const QString &windowClass, bool mayBeProton = true);

private:
    DesktopEntryIndex &m_index;
    QStringList m_steamRoots;
    std::optional<QStringList> m_steamLibraries;
};

} // namespace platform
