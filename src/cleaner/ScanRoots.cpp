#include "ScanRoots.h"

#include "CleanerRules.h"
#include "platform/FileSystem.h"
#include "platform/SteamLibrary.h"

#include <QDir>
#include <QFile>

namespace {

QString withTrailingSlash(const QString &folder)
{
    return folder.endsWith(u'/') ? folder : folder + u'/';
}

QString clean(const QString &path)
{
    return path.isEmpty() ? path : QDir::cleanPath(path);
}

QString resolved(const QString &path)
{
    return QFile::decodeName(platform::FileSystem::resolvedPath(QFile::encodeName(path)));
}

} // namespace

ScanRoots ScanRoots::normalized() const
{
    ScanRoots scan = *this;
    scan.home = clean(home);
    scan.cacheDir = clean(cacheDir);
    scan.logsDir = clean(logsDir);
    scan.downloadsDir = clean(downloadsDir);
    scan.tempDir = tempDir.isEmpty() ? tempDir : withTrailingSlash(clean(tempDir));
    for (QString &folder : scan.flatpakAppDirs) {
        folder = clean(folder);
    }
    scan.snapDir = clean(snapDir);
    scan.appImageDir = clean(appImageDir);
    for (QString &folder : scan.steamRoots) {
        folder = clean(folder);
    }
    return scan;
}

ScanRoots ScanRoots::prepared() const
{
    ScanRoots scan = normalized();
    // Judged with links resolved: a Downloads that is a link to the home is the home.
    const QString realHome = scan.home.isEmpty() ? QString() : resolved(scan.home);
    for (QString *folder : {&scan.cacheDir, &scan.logsDir, &scan.downloadsDir}) {
        if (!folder->isEmpty() &&
            !CleanerRules::isUsableCleanupRoot(resolved(*folder), realHome, false)) {
            folder->clear();
        }
    }
    if (!scan.tempDir.isEmpty() &&
        !CleanerRules::isUsableCleanupRoot(resolved(scan.tempDir), realHome, true)) {
        scan.tempDir.clear();
    }
    return scan;
}

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
    scan.steamRoots = platform::SteamLibrary::standardRoots(roots.home, roots.dataHome);
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
