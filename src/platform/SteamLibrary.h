#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace platform {

/// Steam's own records of what it installed: the library folders an installation lists
/// (libraryfolders.vdf) and each game's manifest (steamapps/appmanifest_APPID.acf), both Valve
/// key-value text. Files larger than a manifest ever is are not read.
class SteamLibrary {
public:
    /// Where Steam keeps its folder for this user: the native installation (and the link to it
    /// Steam leaves in ~/.steam) and the Flatpak one.
    [[nodiscard]] static QStringList standardRoots(const QString &home, const QString &dataHome);
    /// The libraries: each Steam root that exists and the paths its libraryfolders.vdf lists, as
    /// written and as resolved, without duplicates.
    [[nodiscard]] static QStringList libraries(const QStringList &steamRoots);
    /// The "path" values of a libraryfolders.vdf, unescaped; only absolute ones.
    [[nodiscard]] static QStringList parseLibraryFolders(const QByteArray &vdf);
    /// The value of a quoted key of a Valve key-value file (an appmanifest .acf), or empty.
    [[nodiscard]] static QString valveValue(const QByteArray &text, const QByteArray &key);
    /// The Steam app id a window class of a game run through Proton names ("steam_app_570"),
    /// or empty.
    [[nodiscard]] static QString appIdOfWindowClass(const QString &windowClass);
    /// The name the first of the libraries with a manifest for appId gives the game; empty when
    /// none has one that names it.
    [[nodiscard]] static QString gameName(const QStringList &libraries, const QString &appId);
};

} // namespace platform
