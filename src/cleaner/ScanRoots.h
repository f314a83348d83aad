#pragma once

#include "platform/SystemRoots.h"

#include <QString>
#include <QStringList>

/// The folders a disk scan looks at. Injected whole, so a test scans a synthetic home.
struct ScanRoots {
    QString home;         ///< the folder the heavy files, media and folders are found in
    QString cacheDir;     ///< $XDG_CACHE_HOME: the per-user caches
    QString logsDir;      ///< $XDG_STATE_HOME: the per-user logs
    QString downloadsDir; ///< the XDG download folder
    QString tempDir;      ///< the temporary folder, with its trailing "/"

    // Where applications are installed.
    QStringList flatpakAppDirs; ///< /var/lib/flatpak/app and $XDG_DATA_HOME/flatpak/app
    QString snapDir;            ///< /snap
    QString appImageDir;        ///< ~/Applications, for *.AppImage
    QStringList steamRoots;     ///< where Steam may be installed; each holds steamapps/

    /// The roots of a user with these folders.
    [[nodiscard]] static ScanRoots fromSystemRoots(const platform::SystemRoots &roots);
    /// Every path in one clean form (no "//", no "." and no trailing "/" but the temporary
    /// folder's one), so that the paths the walks produce, the rules and the Trash's records all
    /// see the same text. No I/O.
    [[nodiscard]] ScanRoots normalized() const;
    /// The roots as a scan uses them: normalized(), and the cleanup folders that would take in
    /// the whole home (see CleanerRules::isUsableCleanupRoot) emptied, so nothing walks or flags
    /// them. Resolves links, so it runs where the scan does.
    [[nodiscard]] ScanRoots prepared() const;

    /// Everything under one synthetic home, as a test or benchmark builds it: .cache,
    /// .local/state, Downloads, and tempDir as given; no system-wide application roots.
    [[nodiscard]] static ScanRoots forHome(const QString &home, const QString &tempDir);
};
