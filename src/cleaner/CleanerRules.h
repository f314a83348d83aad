#pragma once

#include "FileItem.h"

#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <algorithm>
#include <utility>

/// The fixed lists and the small rules of the disk scan, free of any I/O.
namespace CleanerRules {

inline constexpr qint64 heavyAppFloor = 104'857'600;        // 100 MiB
inline constexpr qint64 heavyFolderFloor = 104'857'600;     // 100 MiB
inline constexpr qint64 heavyFileFloor = 10'485'760;        // 10 MiB
inline constexpr qint64 heavyMediaFloor = 52'428'800;       // 50 MiB
inline constexpr qint64 largeDownloadFloor = 1'073'741'824; // 1 GiB
inline constexpr qint64 tempFileFloor = 104'857'600;        // 100 MiB
inline constexpr qint64 cleanupFloor = 1'048'576;           // 1 MiB
inline constexpr qint64 staleHeavyFileSecs = 5'184'000;     // 60 days
inline constexpr qint64 staleCleanupSecs = 1'209'600;       // 14 days

/// The protected system roots, the Linux system folders among them.
[[nodiscard]] const QStringList &protectedPaths();
/// Folder names protected wherever they occur in a path.
[[nodiscard]] const QStringList &protectedFolders();
[[nodiscard]] const QSet<QString> &mediaExtensions();
[[nodiscard]] const QSet<QString> &videoExtensions();
[[nodiscard]] const QSet<QString> &tempExtensions();

/// "%.2f %@" with the units B, KB, MB, GB, TB in steps of 1024.
[[nodiscard]] QString formatSize(qint64 bytes);

/// "." + the name's extension as the platform's path functions see it: the text after the last
/// dot, where a leading dot (a hidden file's) does not start an extension. Not lower-cased.
[[nodiscard]] QString dottedExtension(QStringView name);

/// The last component of a path.
[[nodiscard]] QStringView lastComponent(QStringView path);

/// True when path is folder itself or lies below it (folder with or without a trailing "/").
[[nodiscard]] bool isUnder(QStringView path, QStringView folder);

/// True when path lies below the state folder (XDG_STATE_HOME) and is a log: a "*.log" file, or
/// anything in a folder named "log" or "logs" below it. Whatever else lies there is an
/// application's state (histories, sessions, databases), which is no log.
[[nodiscard]] bool isStateLog(QStringView path, QStringView stateDir);

/// Whether a cleanup folder may be walked as a cleanup root, both paths with their links
/// resolved. Never "/" nor the home itself; a user folder (caches, logs, downloads) that holds
/// the home is not usable either (XDG_DOWNLOAD_DIR="$HOME" after Downloads was deleted would
/// make the whole home "downloads"). The temporary folder may hold the home (guest sessions live
/// in /tmp): it is walked with the home left out.
[[nodiscard]] bool isUsableCleanupRoot(QStringView folder, QStringView home, bool mayHoldHome);

/// The default game folders of the common launchers in this home: Lutris and Heroic (~/Games),
/// GOG through minigalaxy (~/GOG Games), itch, the launchers' own folders (Flatpak ones
/// included), and ~/snap, which holds each snap's data. Steam's libraries are found on disk.
[[nodiscard]] QStringList launcherGameFolders(const QString &home);

/// Which paths the cleaner must never list or touch: system folders, hidden configuration,
/// game libraries and the like.
class ProtectionRule {
public:
    /// safeCleanupDirectories in this order: caches, logs (the state folder), downloads,
    /// temporary folder. gameLibraries: the Steam libraries; the launchers' default folders of
    /// this home are added to them.
    ProtectionRule(const QString &home, QStringList safeCleanupDirectories,
                   QStringList gameLibraries);

    /// 1. a protected root as a plain prefix, except that a root never swallows the home that
    /// lies under it (/var/home/USER on atomic systems); 2. "/" + a protected folder name
    /// anywhere; 3. a hidden component (one that starts with a dot) anywhere. 2 and 3 look at
    /// what lies beneath the home, or beneath the home's cache or state folder (hidden ones
    /// themselves, ~/.cache and ~/.local/state) for what lies there; outside the home, beneath
    /// the safe cleanup folder that holds the path, else at the whole path. 4. below the state
    /// folder, anything but a log; 5. the game libraries. Otherwise not protected.
    [[nodiscard]] bool isProtected(QStringView path) const;

    [[nodiscard]] const QStringList &safeCleanupDirectories() const { return m_safe; }
    [[nodiscard]] const QStringList &gameLibraries() const { return m_gameLibraries; }

private:
    /// The part of path that rules 2 and 3 look at.
    [[nodiscard]] QStringView checkedPart(QStringView path) const;

    QString m_home;
    QStringList m_safe;
    QStringList m_gameLibraries;
};

/// The working list of the heavy-file and heavy-media phases, kept exactly so on purpose:
/// appended in walk order until full, then a larger file replaces the front entry and the list is
/// re-sorted, largest first. Not a true top-N selection, deliberately.
class FrontEvictionList {
public:
    explicit FrontEvictionList(qsizetype topN)
        : m_topN(topN)
    {
    }

    /// Offers a file of this size; makeItem is called only when the file is kept.
    template <typename MakeItem>
    void offer(qint64 size, MakeItem &&makeItem)
    {
        if (m_topN <= 0) {
            return;
        }
        if (m_pairs.size() < m_topN) {
            m_pairs.append({size, makeItem()});
            return;
        }
        if (m_pairs.front().first < size) {
            m_pairs.front() = {size, makeItem()};
            sortLargestFirst();
        }
    }

    /// The items, sorted by size, largest first (stable).
    [[nodiscard]] QList<FileItem> take()
    {
        sortLargestFirst();
        QList<FileItem> items;
        items.reserve(m_pairs.size());
        for (auto &pair : m_pairs) {
            items.append(std::move(pair.second));
        }
        m_pairs.clear();
        return items;
    }

private:
    void sortLargestFirst()
    {
        std::stable_sort(m_pairs.begin(), m_pairs.end(),
                         [](const auto &a, const auto &b) { return a.first > b.first; });
    }

    qsizetype m_topN;
    QList<std::pair<qint64, FileItem>> m_pairs;
};

/// Sorts by size, largest first, keeping the order of equal sizes.
void sortBySize(QList<FileItem> &items);

/// The reasons the cleanup rule gives a file of a safe cleanup folder, or an empty
/// list when it is not a target. The flags are the Linux ones: under the XDG cache, state and
/// download folders, or the temporary folder.
struct CleanupFolders {
    QString cacheDir;
    QString logsDir;
    QString downloadsDir;
    QString tempDir; ///< with its trailing "/"
    QString home;    ///< nothing of the home is a temporary file, even when /tmp holds it
};
struct CleanupVerdict {
    QStringList reasons;
    bool isCache = false;
};
[[nodiscard]] CleanupVerdict cleanupReasons(const CleanupFolders &folders, QStringView path,
                                            qint64 size, bool stale);

/// The heavy-file rules: the reasons for a heavy file, possibly none.
/// downloadsDir is the XDG download folder, which counts as "Downloads" whatever its name.
[[nodiscard]] QStringList heavyFileReasons(const FileItem &item, const QString &downloadsDir,
                                           bool stale);

} // namespace CleanerRules
