#pragma once

#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

namespace platform {

/// Where the platform's readers look: the kernel's pseudo file systems and the user's folders.
/// Every reader takes these by injection so that a test can point it at fixtures.
struct SystemRoots {
    QString procRoot;     ///< "/proc"
    QString sysRoot;      ///< "/sys"
    QString home;         ///< the user's home folder
    QString configHome;   ///< per-user configuration (XDG_CONFIG_HOME)
    QString dataHome;     ///< per-user data (XDG_DATA_HOME)
    QString cacheHome;    ///< per-user caches (XDG_CACHE_HOME)
    QString stateHome;    ///< per-user state and logs (XDG_STATE_HOME)
    QStringList dataDirs; ///< system data folders (XDG_DATA_DIRS)
    QString runtimeDir;   ///< XDG_RUNTIME_DIR, empty when unset
    QString desktopDir;   ///< the user's Desktop folder
    QString downloadDir;  ///< the user's download folder
    QString tempDir;      ///< the temporary folder, without a trailing slash

    /// The roots of this process, resolved from its environment.
    static SystemRoots current();
    /// The roots a process with this environment would use.
    static SystemRoots fromEnvironment(const QProcessEnvironment &environment);
};

} // namespace platform
