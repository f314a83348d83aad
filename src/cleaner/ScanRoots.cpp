#include "ScanRoots.h"

namespace {

QString withTrailingSlash(const QString &folder)
{
    return folder.endsWith(u'/') ? folder : folder + u'/';
}

} // namespace

ScanRoots ScanRoots::fromSystemRoots(const platform::SystemRoots &roots)
{
    ScanRoots scan;
    scan.home = roots.home;
    scan.cacheDir = roots.cacheHome;
    scan.logsDir = roots.stateHome;
    scan.downloadsDir = roots.downloadDir;
    scan.tempDir = withTrailingSlash(roots.tempDir);
    scan.flatpakAppDirs = {QStringLiteral("/var/lib/flatpak/app"),
                           roots.dataHome + u"/flatpak/app"};
    scan.snapDir = QStringLiteral("/snap");
    scan.appImageDir = roots.home + u"/Applications";
    scan.steamRoots = {
        roots.dataHome + u"/Steam",
        roots.home + u"/.steam/steam",
        roots.home + u"/.var/app/com.valvesoftware.Steam/.local/share/Steam",
    };
    return scan;
}

ScanRoots ScanRoots::forHome(const QString &home, const QString &tempDir)
{
    ScanRoots scan;
    scan.home = home;
    scan.cacheDir = home + u"/.cache";
    scan.logsDir = home + u"/.local/state";
    scan.downloadsDir = home + u"/Downloads";
    scan.tempDir = withTrailingSlash(tempDir);
    scan.flatpakAppDirs = {home + u"/.local/share/flatpak/app"};
    scan.appImageDir = home + u"/Applications";
    scan.steamRoots = {home + u"/.local/share/Steam"};
    return scan;
}
