#include "CleanerRules.h"

#include <cmath>

using namespace Qt::StringLiterals;

namespace CleanerRules {

const QStringList &protectedPaths()
{
    static const QStringList paths{
        // The system's own folders.
        u"/System"_s, u"/Library"_s, u"/usr"_s, u"/bin"_s, u"/sbin"_s, u"/etc"_s, u"/var"_s,
        u"/private"_s, u"/Network"_s, u"/automount"_s, u"/cores"_s, u"/dev"_s,
        // Linux.
        u"/boot"_s, u"/lib"_s, u"/lib32"_s, u"/lib64"_s, u"/libx32"_s, u"/opt"_s, u"/proc"_s,
        u"/run"_s, u"/snap"_s, u"/srv"_s, u"/sys"_s};
    return paths;
}

const QStringList &protectedFolders()
{
    static const QStringList folders{u".ssh"_s, u".gnupg"_s, u".config"_s, u".local"_s,
                                     u".Trash"_s};
    return folders;
}

const QSet<QString> &mediaExtensions()
{
    static const QSet<QString> extensions{
        u".mov"_s, u".mp4"_s,  u".avi"_s, u".mkv"_s, u".wmv"_s,  u".flv"_s,  u".png"_s,
        u".jpg"_s, u".jpeg"_s, u".gif"_s, u".bmp"_s, u".tiff"_s, u".webp"_s, u".heic"_s,
        u".dmg"_s, u".iso"_s,  u".zip"_s, u".rar"_s, u".7z"_s,   u".tar"_s,  u".gz"_s};
    return extensions;
}

const QSet<QString> &videoExtensions()
{
    static const QSet<QString> extensions{u".mov"_s, u".mp4"_s, u".avi"_s,
                                          u".mkv"_s, u".wmv"_s, u".flv"_s};
    return extensions;
}

const QSet<QString> &tempExtensions()
{
    static const QSet<QString> extensions{u".log"_s,   u".tmp"_s, u".temp"_s,
                                          u".cache"_s, u".swp"_s, u".DS_Store"_s};
    return extensions;
}

QString formatSize(qint64 bytes)
{
    static const char *const units[] = {"B", "KB", "MB", "GB", "TB"};
    double value = double(bytes);
    int unit = 0;
    while (value >= 1024 && unit < 4) {
        value *= 1.0 / 1024;
        ++unit;
    }
    return QString::asprintf("%.2f %s", value, units[unit]);
}

QStringView lastComponent(QStringView path)
{
    const qsizetype slash = path.lastIndexOf(u'/');
    return slash < 0 ? path : path.mid(slash + 1);
}

QString dottedExtension(QStringView name)
{
    name = lastComponent(name);
    const qsizetype dot = name.lastIndexOf(u'.');
    if (dot <= 0) {
        return QStringLiteral(".");
    }
    return u'.' + name.mid(dot + 1).toString();
}

bool isUnder(QStringView path, QStringView folder)
{
    while (folder.size() > 1 && folder.endsWith(u'/')) {
        folder.chop(1);
    }
    if (folder.isEmpty()) {
        return false;
    }
    if (!path.startsWith(folder)) {
        return false;
    }
    return path.size() == folder.size() || path.at(folder.size()) == u'/' || folder == u"/";
}

namespace {

QStringView withoutTrailingSlashes(QStringView folder)
{
    while (folder.size() > 1 && folder.endsWith(u'/')) {
        folder.chop(1);
    }
    return folder;
}

} // namespace

bool isStateLog(QStringView path, QStringView stateDir)
{
    stateDir = withoutTrailingSlashes(stateDir);
    if (stateDir.isEmpty() || !isUnder(path, stateDir) || path.size() <= stateDir.size() + 1) {
        return false;
    }
    const QStringView below = path.mid(stateDir.size() + 1);
    if (below.endsWith(u".log")) {
        return true;
    }
    const qsizetype lastSlash = below.lastIndexOf(u'/');
    if (lastSlash < 0) {
        return false;
    }
    for (const QStringView folder : below.left(lastSlash).tokenize(u'/')) {
        if (folder == u"log" || folder == u"logs") {
            return true;
        }
    }
    return false;
}

bool isUsableCleanupRoot(QStringView folder, QStringView home, bool mayHoldHome)
{
    folder = withoutTrailingSlashes(folder);
    home = withoutTrailingSlashes(home);
    if (folder.isEmpty() || folder == u"/" || (!home.isEmpty() && folder == home)) {
        return false;
    }
    return mayHoldHome || home.isEmpty() || !isUnder(home, folder);
}

QStringList launcherGameFolders(const QString &home)
{
    return {
        home + u"/Games",                                // Lutris, Heroic (~/Games/Heroic)
        home + u"/GOG Games",                            // minigalaxy
        home + u"/snap",                                 // each snap's own data
        home + u"/.config/heroic",                       // Heroic's prefixes and tools
        home + u"/.var/app/com.heroicgameslauncher.hgl", // Heroic from Flathub
        home + u"/.local/share/lutris",                  // Lutris's runners and prefixes
        home + u"/.var/app/net.lutris.Lutris",           // Lutris from Flathub
        home + u"/.config/itch",                         // itch, which installs into apps/
        home + u"/.var/app/io.itch.itch",                // itch from Flathub
    };
}

ProtectionRule::ProtectionRule(const QString &home, QStringList safeCleanupDirectories,
                               QStringList gameLibraries)
    : m_home(withoutTrailingSlashes(home).toString())
    , m_safe(std::move(safeCleanupDirectories))
    , m_gameLibraries(launcherGameFolders(m_home) + gameLibraries)
{
}

QStringView ProtectionRule::checkedPart(QStringView path) const
{
    // The innermost of the home and its cache and state folders that holds the path; only a
    // path outside the home is looked at below the downloads or temporary folder holding it.
    QStringView container;
    const auto consider = [&](QStringView folder) {
        folder = withoutTrailingSlashes(folder);
        if (!folder.isEmpty() && folder.size() > container.size() && isUnder(path, folder)) {
            container = folder;
        }
    };
    consider(m_home);
    consider(m_safe.value(0));
    consider(m_safe.value(1));
    if (container.isEmpty()) {
        consider(m_safe.value(2));
        consider(m_safe.value(3));
    }
    if (container.isEmpty()) {
        return path;
    }
    return container == u"/" ? path : path.mid(container.size());
}

bool ProtectionRule::isProtected(QStringView path) const
{
    for (const QString &root : protectedPaths()) {
        // A home under a system root (/var/home/USER) is the user's own.
        if (path.startsWith(root) && !(m_home.startsWith(root) && isUnder(path, m_home))) {
            return true;
        }
    }
    const QStringView below = checkedPart(path);
    for (const QString &folder : protectedFolders()) {
        const qsizetype at = below.indexOf(folder);
        for (qsizetype i = at; i >= 0; i = below.indexOf(folder, i + 1)) {
            if (i > 0 && below.at(i - 1) == u'/') {
                return true;
            }
        }
    }
    if (below.contains(u"/.")) {
        return true;
    }
    // The state folder is the second safe folder; only its logs may go.
    const QStringView stateDir = withoutTrailingSlashes(m_safe.value(1));
    if (!stateDir.isEmpty() && isUnder(path, stateDir) && path.size() > stateDir.size() &&
        !isStateLog(path, stateDir)) {
        return true;
    }
    for (const QString &library : m_gameLibraries) {
        if (isUnder(path, library)) {
            return true;
        }
    }
    return false;
}

void sortBySize(QList<FileItem> &items)
{
    std::stable_sort(items.begin(), items.end(),
                     [](const FileItem &a, const FileItem &b) { return a.size > b.size; });
}

CleanupVerdict cleanupReasons(const CleanupFolders &folders, QStringView path, qint64 size,
                              bool stale)
{
    CleanupVerdict verdict;
    if (size <= cleanupFloor) {
        return verdict;
    }
    const bool cache = isUnder(path, folders.cacheDir) && path.size() > folders.cacheDir.size();
    const bool logs = isStateLog(path, folders.logsDir);
    const bool temp = !folders.tempDir.isEmpty() && path.startsWith(folders.tempDir) &&
                      !isUnder(path, folders.home);
    const bool downloads =
        isUnder(path, folders.downloadsDir) && path.size() > folders.downloadsDir.size();
    const QString extension = dottedExtension(path);
    const bool downloadMedia = downloads && mediaExtensions().contains(extension);
    const bool tempExtension = tempExtensions().contains(extension);

    if (cache) {
        verdict.reasons.append(QStringLiteral("App cache"));
    } else if (!logs && !temp && !downloadMedia && !tempExtension && !stale) {
        return verdict;
    }
    if (logs) {
        verdict.reasons.append(QStringLiteral("Log file"));
    }
    if (temp || tempExtension) {
        verdict.reasons.append(QStringLiteral("Temporary file"));
    }
    if (downloadMedia) {
        verdict.reasons.append(QStringLiteral("Large download artifact"));
    }
    if (stale) {
        verdict.reasons.append(QStringLiteral("Unused for 14+ days"));
    }
    verdict.isCache = cache;
    return verdict;
}

QStringList heavyFileReasons(const FileItem &item, const QString &downloadsDir, bool stale)
{
    QStringList reasons;
    const QStringView parent = QStringView(item.path).left(item.path.lastIndexOf(u'/'));
    const QStringView parentName = lastComponent(parent);
    QStringView downloads(downloadsDir);
    while (downloads.size() > 1 && downloads.endsWith(u'/')) {
        downloads.chop(1);
    }
    const bool inDownloads =
        parentName == u"Downloads" || (!downloads.isEmpty() && parent == downloads);
    if (inDownloads && item.size > largeDownloadFloor) {
        reasons.append(u"Large file in " + parentName.toString());
    }
    if (tempExtensions().contains(dottedExtension(item.path)) && item.size > tempFileFloor) {
        reasons.append(QStringLiteral("Temp file over 100MB"));
    }
    if (stale) {
        reasons.append(u"Not accessed in " +
                       QString::number(static_cast<qint64>(std::trunc(item.daysSinceAccess))) +
                       u" days");
    }
    return reasons;
}

} // namespace CleanerRules
