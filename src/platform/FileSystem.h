#pragma once

#include "FileIdentity.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <optional>
#include <string_view>

namespace platform {

/// What lstat() tells about one entry; symbolic links are described as themselves.
struct FileStatus {
    qint64 size = 0;          ///< bytes (the entry's own size attribute, not its contents)
    qint64 modifiedMsecs = 0; ///< modification time, milliseconds since 1970
    bool isDirectory = false; ///< a real folder, never a link to one
    bool isSymbolicLink = false;
    FileIdentity identity;
    uint ownerId = 0;
};

/// One entry below the root of a walk. The views are valid only during the visitor's call.
struct WalkEntry {
    std::string_view path; ///< the full path, in the file system's bytes
    std::string_view name; ///< its last component
    qint64 size = 0;
    qint64 modifiedMsecs = 0;
    FileIdentity identity;
    /// Bit i is set when the entry lies below the walk's markFolders[i], as the walk entered it.
    quint32 marks = 0;
    /// For each bit set in marks, the length of that folder's path at the start of path.
    const std::size_t *markedPathLengths = nullptr;
};

/// How a walk treats the folders below its root.
struct WalkOptions {
    const std::atomic<bool> *stop = nullptr; ///< the walk ends once this becomes true
    QList<FileIdentity> skipFolders;         ///< never entered
    /// Folders whose entries are told apart by WalkEntry::marks (at most maximumWalkMarks), so
    /// one walk can serve what would otherwise walk them again as roots of their own.
    QList<FileIdentity> markFolders;
};

/// What a walk did beyond visiting entries.
struct WalkReport {
    bool rootOpened = false;
    quint32 enteredMarks = 0; ///< the marked folders the walk entered
    quint32 cutMarks = 0;     ///< marked folders with folders below them past the depth limit
};

/// Read-only file-system queries the cleaner needs, without following symbolic links.
class FileSystem {
public:
    /// The entry itself (lstat); nothing when it does not exist or cannot be read.
    [[nodiscard]] static std::optional<FileStatus> status(const QString &path);
    /// The same for a path in the file system's own bytes, which need not be valid UTF-8.
    [[nodiscard]] static std::optional<FileStatus> status(const QByteArray &nativePath);
    /// The path with every link, "." and ".." resolved; the path itself when it cannot be.
    [[nodiscard]] static QByteArray resolvedPath(const QByteArray &nativePath);
    /// The names in a folder (hidden ones included, "." and ".." left out); nothing when the
    /// folder cannot be opened. A link to a folder is not opened.
    [[nodiscard]] static std::optional<QStringList> list(const QString &folder);
    /// The contents of a regular file, or of a link to one, of at most smallFileBytes (a manifest,
    /// a desktop entry); empty for anything else, so a planted huge file, FIFO or device is never
    /// read.
    [[nodiscard]] static QByteArray readSmallFile(const QString &path);
    static constexpr qint64 smallFileBytes = 1024 * 1024;

    /// How many folders deep a walk goes below its root. Real homes stay far below it; a
    /// planted tree thousands deep would otherwise cost one open handle per level.
    static constexpr std::size_t maximumWalkDepth = 256;
    static constexpr qsizetype maximumWalkMarks = 32;

    /// Calls visit for every entry below root that is not a folder, down to maximumWalkDepth,
    /// in the order the file system returns them. Folders are entered through handles opened
    /// relative to their parent with O_NOFOLLOW, so a symbolic link is reported as the link and
    /// never entered; a folder on another mount than root's (another file system, or a bind
    /// mount) is not entered either; unreadable folders and entries that vanish are skipped.
    /// The walk ends early when visit returns false or stop becomes true. The root itself may
    /// be reached through a link (a home folder often is). Returns false when root itself
    /// cannot be opened. Folders below root whose identity is in skipFolders are not entered.
    static bool walk(const QString &root, const std::function<bool(const WalkEntry &)> &visit,
                     const std::atomic<bool> *stop = nullptr,
                     const QList<FileIdentity> &skipFolders = {});
    /// The same walk with marked folders; marks past maximumWalkMarks are ignored.
    static WalkReport walk(const QString &root, const std::function<bool(const WalkEntry &)> &visit,
                           const WalkOptions &options);
};

} // namespace platform
