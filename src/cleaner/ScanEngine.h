#pragma once

#include "CleanerRules.h"
#include "FileItem.h"
#include "ScanRoots.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"
#include "platform/ToolRunner.h"

#include <QList>
#include <QString>

#include <atomic>
#include <functional>
#include <optional>

/// The phases of a disk scan, run one after another on the calling thread.
/// DiskScanner runs them on its worker thread; tests and the benchmark call them directly.
class ScanEngine {
public:
    /// One line for standard output ("du error: …").
    using Console = std::function<void(const QString &)>;

    struct Options {
        QString duProgram = QStringLiteral("du");
        std::chrono::milliseconds duTimeout{std::chrono::minutes(10)};
    };

    /// The runner, clock and console must outlive the engine; stop, when given, ends the walks
    /// early once set.
    ScanEngine(ScanRoots roots, platform::ToolRunner &runner, const platform::Clock &clock,
               Console console, Options options, const std::atomic<bool> *stop = nullptr);

    [[nodiscard]] QList<FileItem> scanHeavyApps();
    [[nodiscard]] QList<FileItem> scanHeavyFiles(qsizetype topN);
    [[nodiscard]] QList<FileItem> scanHeavyFolders(qsizetype topN);
    [[nodiscard]] QList<FileItem> scanHeavyMedia(qsizetype topN);
    /// The heavy-file rules over the given heavy files, then the cleanup targets, without
    /// duplicates (the first kept), largest first.
    [[nodiscard]] QList<FileItem> generateRecommendations(const QList<FileItem> &heavyFiles);
    /// The same with cleanup targets already found.
    [[nodiscard]] QList<FileItem> generateRecommendations(const QList<FileItem> &heavyFiles,
                                                          QList<FileItem> cleanupTargets);
    [[nodiscard]] QList<FileItem> scanCleanupTargets();

    /// The lists that come from the files themselves.
    struct TreeLists {
        QList<FileItem> heavyFiles;
        QList<FileItem> heavyMedia;
        QList<FileItem> cleanupTargets;
    };
    /// scanHeavyFiles(), scanHeavyMedia() and scanCleanupTargets() from one walk of the home,
    /// which also serves the cleanup folders it reaches whole; the others are walked on their
    /// own. The lists are the ones the three calls give.
    [[nodiscard]] TreeLists scanTree(qsizetype filesTopN, qsizetype mediaTopN);

    /// `du -sk -- PATH` × 1024; 0 when du cannot run or prints no number.
    [[nodiscard]] qint64 getDirectorySize(const QString &path);
    /// The entry's own size (a folder's or a link's entry, not its contents); 0 on error.
    [[nodiscard]] static qint64 getFileSize(const QString &path);
    /// The modification time in seconds since 1970; 0 on error.
    [[nodiscard]] static double getFileAccessTime(const QString &path);
    [[nodiscard]] bool isProtected(QStringView path) const
    {
        return m_protection.isProtected(path);
    }
    [[nodiscard]] const CleanerRules::ProtectionRule &protection() const { return m_protection; }

    /// One file the walk found, as the handler of scanDirectory() sees it.
    struct WalkedFile {
        const platform::WalkEntry &entry; ///< path and name in the file system's bytes
        double daysSinceAccess = 0;
        std::string_view walkRoot;     ///< the root as the walk's paths begin
        std::string_view resolvedRoot; ///< the same folder with its links resolved

        /// The entry's path below the resolved root, which removal opens without links.
        [[nodiscard]] QByteArray nativePath() const;
    };
    /// Every non-folder entry below path, never through a link nor into another mount;
    /// unreadable parts are skipped. The handler sees the raw bytes first (cheap filters) and
    /// decodes only what it keeps.
    /// Folders whose identity is in skipFolders are not entered.
    void scanDirectory(const QString &path, const std::function<void(const WalkedFile &)> &handler,
                       const QList<platform::FileIdentity> &skipFolders = {});
    /// The same walk with marked folders (WalkEntry::marks); its report.
    platform::WalkReport scanDirectory(const QString &path,
                                       const std::function<void(const WalkedFile &)> &handler,
                                       const QList<platform::FileIdentity> &skipFolders,
                                       const QList<platform::FileIdentity> &markFolders);

private:
    /// The cleanup target a walked file is, if any; path is its text as the folder's own walk
    /// gives it.
    [[nodiscard]] std::optional<FileItem> cleanupTarget(const CleanerRules::CleanupFolders &folders,
                                                        double cutoff, const WalkedFile &walked,
                                                        const QString &path) const;
    [[nodiscard]] CleanerRules::CleanupFolders cleanupFolders() const;
    /// The home's identity, which a temporary folder holding it does not walk into.
    [[nodiscard]] QList<platform::FileIdentity> homeToSkip() const;
    /// Appends the cleanup targets below directory, walked as a root of its own.
    void walkCleanupFolder(const QString &directory, const QList<platform::FileIdentity> &skip,
                           QList<FileItem> &targets);

    ScanRoots m_roots;
    platform::ToolRunner &m_runner;
    const platform::Clock &m_clock;
    Console m_console;
    Options m_options;
    const std::atomic<bool> *m_stop;
    CleanerRules::ProtectionRule m_protection;
};
