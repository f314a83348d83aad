// The walk reads each folder with getdents64 and stats its entries with fstatat against the open
// folder, so no path is resolved twice and nothing is stat-ed that the folder's own entry types
// already tell (sub-folders). std::filesystem's recursive iterator stats every file twice.

#include "platform/FileSystem.h"
#include "platform/linux/MountKey.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <unistd.h>
#include <vector>

namespace platform {

namespace {

qint64 modifiedMsecs(const struct stat &info)
{
    return qint64(info.st_mtim.tv_sec) * 1000 + qint64(info.st_mtim.tv_nsec) / 1'000'000;
}

// The records getdents64 fills in (struct linux_dirent64, which glibc does not declare): an
// 8-byte inode, an 8-byte offset, a 2-byte record length, a 1-byte type, then the name.
constexpr std::size_t reclenOffset = 16;
constexpr std::size_t typeOffset = 18;
constexpr std::size_t nameOffset = 19;

class Walker {
public:
    Walker(const std::function<bool(const WalkEntry &)> &visit, const WalkOptions &options,
           MountKey mount)
        : m_visit(visit)
        , m_stop(options.stop)
        , m_mount(mount)
        , m_skip(options.skipFolders)
        , m_marks(options.markFolders.first(
              std::min(options.markFolders.size(), FileSystem::maximumWalkMarks)))
    {
    }

    /// Walks the open folder fd, whose path is m_path, at this depth below the root; takes
    /// ownership of fd.
    void walk(int fd, std::size_t depth)
    {
        // Each level reads into a buffer of its own, so a folder is read once however many
        // sub-folders it holds (seeking back and reading again costs a full buffer each time).
        char *buffer = levelBuffer(depth);
        const std::size_t pathLength = m_path.size();
        while (!m_done) {
            const long count = ::syscall(SYS_getdents64, fd, buffer, bufferSize);
            if (count <= 0) {
                break;
            }
            for (long offset = 0; offset < count && !m_done;) {
                const char *record = buffer + offset;
                unsigned short length = 0;
                std::memcpy(&length, record + reclenOffset, sizeof length);
                offset += length;
                const auto type = static_cast<unsigned char>(record[typeOffset]);
                const char *name = record + nameOffset;
                if (name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0))) {
                    continue;
                }
                visitEntry(fd, name, type, depth);
                m_path.resize(pathLength);
            }
        }
        ::close(fd);
    }

    bool m_done = false;
    std::string m_path;
    WalkReport m_report;

private:
    static constexpr std::size_t bufferSize = 32 * 1024;

    char *levelBuffer(std::size_t depth)
    {
        while (m_buffers.size() <= depth) {
            m_buffers.push_back(std::make_unique<char[]>(bufferSize));
        }
        return m_buffers[depth].get();
    }

    void visitEntry(int fd, const char *name, unsigned char type, std::size_t depth)
    {
        if (m_stop && m_stop->load(std::memory_order_relaxed)) {
            m_done = true;
            return;
        }
        m_path += '/';
        const std::size_t nameStart = m_path.size();
        m_path += name;
        if (type == DT_DIR) {
            enterFolder(fd, name, depth);
            return;
        }
        struct stat info {};
        if (::fstatat(fd, name, &info, AT_SYMLINK_NOFOLLOW) != 0) {
            return; // vanished or unreadable
        }
        if (S_ISDIR(info.st_mode)) {
            // DT_UNKNOWN on file systems that do not fill in the type.
            enterFolder(fd, name, depth);
            return;
        }
        const WalkEntry entry{std::string_view(m_path),
                              std::string_view(m_path).substr(nameStart),
                              qint64(info.st_size),
                              modifiedMsecs(info),
                              FileIdentity{quint64(info.st_dev), quint64(info.st_ino)},
                              m_activeMarks,
                              m_markedPathLengths.data()};
        if (!m_visit(entry)) {
            m_done = true;
        }
    }

    void enterFolder(int parent, const char *name, std::size_t depth)
    {
        if (depth + 1 > FileSystem::maximumWalkDepth) {
            m_report.cutMarks |= m_activeMarks;
            return;
        }
        const int child =
            ::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
        if (child < 0) {
            return; // unreadable, vanished, a link after all, or out of handles
        }
        const std::optional<MountKey> mount = MountKey::of(child);
        if (!mount || !(*mount == m_mount)) {
            ::close(child); // another file system, or a bind mount: not this walk's
            return;
        }
        quint32 mark = 0;
        if (!m_skip.isEmpty() || !m_marks.isEmpty()) {
            struct stat info {};
            if (::fstat(child, &info) != 0) {
                ::close(child);
                return;
            }
            const FileIdentity identity{quint64(info.st_dev), quint64(info.st_ino)};
            if (m_skip.contains(identity)) {
                ::close(child);
                return;
            }
            for (qsizetype i = 0; i < m_marks.size(); ++i) {
                if (m_marks.at(i) == identity) {
                    mark |= quint32(1) << i;
                    m_markedPathLengths[std::size_t(i)] = m_path.size();
                }
            }
        }
        const quint32 outerMarks = m_activeMarks;
        m_activeMarks |= mark;
        m_report.enteredMarks |= mark;
        walk(child, depth + 1);
        m_activeMarks = outerMarks;
    }

    const std::function<bool(const WalkEntry &)> &m_visit;
    const std::atomic<bool> *m_stop;
    MountKey m_mount;
    const QList<FileIdentity> &m_skip;
    const QList<FileIdentity> m_marks;
    quint32 m_activeMarks = 0;
    std::array<std::size_t, FileSystem::maximumWalkMarks> m_markedPathLengths{};
    std::vector<std::unique_ptr<char[]>> m_buffers;
};

FileStatus toStatus(const struct stat &info)
{
    FileStatus status;
    status.size = qint64(info.st_size);
    status.modifiedMsecs = modifiedMsecs(info);
    status.isDirectory = S_ISDIR(info.st_mode);
    status.isSymbolicLink = S_ISLNK(info.st_mode);
    status.identity = FileIdentity{quint64(info.st_dev), quint64(info.st_ino)};
    status.ownerId = uint(info.st_uid);
    return status;
}

} // namespace

std::optional<FileStatus> FileSystem::status(const QString &path)
{
    return status(QFile::encodeName(path));
}

std::optional<FileStatus> FileSystem::status(const QByteArray &nativePath)
{
    struct stat info {};
    if (nativePath.isEmpty() || ::lstat(nativePath.constData(), &info) != 0) {
        return std::nullopt;
    }
    return toStatus(info);
}

QByteArray FileSystem::resolvedPath(const QByteArray &nativePath)
{
    char *resolved = ::realpath(nativePath.constData(), nullptr);
    if (!resolved) {
        return nativePath;
    }
    QByteArray path(resolved);
    std::free(resolved);
    return path;
}

std::optional<QStringList> FileSystem::list(const QString &folder)
{
    const int fd = ::open(QFile::encodeName(folder).constData(),
                          O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        return std::nullopt;
    }
    DIR *dir = ::fdopendir(fd);
    if (!dir) {
        ::close(fd);
        return std::nullopt;
    }
    QStringList names;
    while (const dirent *entry = ::readdir(dir)) {
        const char *name = entry->d_name;
        if (std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0) {
            names.append(QFile::decodeName(name));
        }
    }
    ::closedir(dir);
    return names;
}

bool FileSystem::walk(const QString &root, const std::function<bool(const WalkEntry &)> &visit,
                      const std::atomic<bool> *stop, const QList<FileIdentity> &skipFolders)
{
    return walk(root, visit, WalkOptions{stop, skipFolders, {}}).rootOpened;
}

WalkReport FileSystem::walk(const QString &root,
                            const std::function<bool(const WalkEntry &)> &visit,
                            const WalkOptions &options)
{
    QByteArray rootBytes = QFile::encodeName(root);
    while (rootBytes.size() > 1 && rootBytes.endsWith('/')) {
        rootBytes.chop(1);
    }
    const int fd = ::open(rootBytes.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        return {};
    }
    const std::optional<MountKey> mount = MountKey::of(fd);
    if (!mount) {
        ::close(fd);
        return {};
    }
    Walker walker(visit, options, *mount);
    walker.m_path.assign(rootBytes.constData(), std::size_t(rootBytes.size()));
    if (walker.m_path == "/") {
        walker.m_path.clear();
    }
    walker.walk(fd, 0);
    walker.m_report.rootOpened = true;
    return walker.m_report;
}

QByteArray FileSystem::readSmallFile(const QString &path)
{
    // Opened without waiting, then checked on the handle itself: a FIFO (or a link to one) would
    // otherwise hold the reading thread until some writer came, and a device would have no end.
    // Links are followed, as the desktop's own exported entries are links.
    const int descriptor =
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) {
        return {};
    }
    struct stat info {};
    QFile file;
    if (::fstat(descriptor, &info) != 0 || !S_ISREG(info.st_mode) ||
        info.st_size > smallFileBytes ||
        !file.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        ::close(descriptor);
        return {};
    }
    return file.read(smallFileBytes);
}

} // namespace platform
