#include "FreedesktopTrash.h"

#include "platform/FileSystem.h"
#include "platform/SystemRoots.h"
#include "platform/linux/MountKey.h"

#include <QDateTime>
#include <QFile>
#include <QList>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <linux/openat2.h>
#include <optional>
#include <set>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <unistd.h>
#include <utility>

namespace platform {

namespace {

/// An open file descriptor, closed when it goes out of scope.
struct Descriptor {
    int fd = -1;

    Descriptor() = default;
    explicit Descriptor(int value)
        : fd(value)
    {
    }
    Descriptor(Descriptor &&other) noexcept
        : fd(std::exchange(other.fd, -1))
    {
    }
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        if (this != &other) {
            reset();
            fd = std::exchange(other.fd, -1);
        }
        return *this;
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    ~Descriptor() { reset(); }

    void reset()
    {
        if (fd >= 0) {
            ::close(fd);
        }
        fd = -1;
    }
    [[nodiscard]] bool isOpen() const { return fd >= 0; }
};

std::optional<MountKey> mountOf(const QByteArray &path)
{
    return MountKey::at(AT_FDCWD, path.constData());
}

QByteArray parentOf(const QByteArray &path)
{
    const qsizetype slash = path.lastIndexOf('/');
    return slash <= 0 ? QByteArray("/") : path.left(slash);
}

QString errnoText(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

/// The components of an absolute path, or nothing when one is "." or ".." (which the scan
/// never reports and which could lead a handle out of where the text says).
std::optional<QList<QByteArray>> componentsOf(const QByteArray &path)
{
    QList<QByteArray> components;
    for (const QByteArray &part : path.split('/')) {
        if (part.isEmpty()) {
            continue;
        }
        if (part == "." || part == "..") {
            return std::nullopt;
        }
        components.append(part);
    }
    return components;
}

/// Opens a folder by its absolute path without following a symbolic link anywhere on the way.
Descriptor openWithoutLinks(const QByteArray &path)
{
    open_how how{};
    how.flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
    how.resolve = RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
    const long fd = ::syscall(SYS_openat2, AT_FDCWD, path.constData(), &how, sizeof how);
    if (fd >= 0 || (errno != ENOSYS && errno != EPERM)) {
        return Descriptor(int(fd));
    }
    // Kernels before 5.6, or sandboxes that forbid the call (EPERM): one component at a time
    // from the root, none of them a link.
    const std::optional<QList<QByteArray>> components = componentsOf(path);
    if (!components) {
        errno = EINVAL;
        return {};
    }
    Descriptor folder(::open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    for (const QByteArray &component : *components) {
        if (!folder.isOpen()) {
            break;
        }
        folder = Descriptor(::openat(folder.fd, component.constData(),
                                     O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    }
    return folder;
}

/// Creates a folder with mode 0700 unless it exists; then it must be a real folder, not a link.
bool ensurePrivateFolder(const QByteArray &path, QString *error)
{
    if (::mkdir(path.constData(), 0700) != 0 && errno != EEXIST) {
        *error =
            QStringLiteral("cannot create %1: %2").arg(QFile::decodeName(path), errnoText(errno));
        return false;
    }
    struct stat info {};
    if (::lstat(path.constData(), &info) != 0) {
        *error =
            QStringLiteral("cannot read %1: %2").arg(QFile::decodeName(path), errnoText(errno));
        return false;
    }
    if (!S_ISDIR(info.st_mode)) {
        *error = QStringLiteral("%1 is not a folder").arg(QFile::decodeName(path));
        return false;
    }
    return true;
}

/// mkdir -p with mode 0700 for the folders it creates.
bool ensurePath(const QByteArray &path, QString *error)
{
    struct stat info {};
    if (::stat(path.constData(), &info) == 0) {
        if (S_ISDIR(info.st_mode)) {
            return true;
        }
        *error = QStringLiteral("%1 is not a folder").arg(QFile::decodeName(path));
        return false;
    }
    const QByteArray parent = parentOf(path);
    if (parent != path && !ensurePath(parent, error)) {
        return false;
    }
    return ensurePrivateFolder(path, error);
}

/// The folder name in parent, created with mode 0700 when missing; it must be a real folder
/// (never a link) of this user. path names it in messages.
Descriptor openPrivateFolder(int parent, const QByteArray &name, uid_t uid, const QByteArray &path,
                             QString *error, bool *denied = nullptr)
{
    if (::mkdirat(parent, name.constData(), 0700) != 0 && errno != EEXIST) {
        const int reason = errno;
        if (denied) {
            *denied = reason == EACCES || reason == EPERM || reason == EROFS;
        }
        *error =
            QStringLiteral("cannot create %1: %2").arg(QFile::decodeName(path), errnoText(reason));
        return {};
    }
    Descriptor folder(
        ::openat(parent, name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!folder.isOpen()) {
        *error = errno == ELOOP || errno == ENOTDIR
                     ? QStringLiteral("%1 is not a folder").arg(QFile::decodeName(path))
                     : QStringLiteral("cannot open %1: %2")
                           .arg(QFile::decodeName(path), errnoText(errno));
        return {};
    }
    struct stat info {};
    if (::fstat(folder.fd, &info) != 0 || info.st_uid != uid) {
        *error = QStringLiteral("%1 belongs to another user").arg(QFile::decodeName(path));
        return {};
    }
    return folder;
}

/// A trash folder, open, with its "files" and "info" sub-folders.
struct TrashFolders {
    QByteArray path;
    Descriptor trash;
    Descriptor files;
    Descriptor info;
};

bool openSubFolders(TrashFolders &folders, uid_t uid, QString *error)
{
    folders.files =
        openPrivateFolder(folders.trash.fd, "files", uid, folders.path + "/files", error);
    if (!folders.files.isOpen()) {
        return false;
    }
    folders.info = openPrivateFolder(folders.trash.fd, "info", uid, folders.path + "/info", error);
    return folders.info.isOpen();
}

/// The trash folder of another mount whose top folder is open as top, by the Trash
/// specification's two methods: $topdir/.Trash/$uid when $topdir/.Trash is a real folder that
/// root owns and that has the sticky bit, else $topdir/.Trash-$uid. Everything after the check
/// of .Trash goes through the handle that was checked.
std::optional<TrashFolders> mountTrash(int top, const QByteArray &topPath, uid_t uid,
                                       QString *error, bool *denied)
{
    const QByteArray base = topPath == "/" ? QByteArray() : topPath;
    const QByteArray uidName = QByteArray::number(uid);
    struct stat checked {};
    if (::fstatat(top, ".Trash", &checked, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(checked.st_mode) &&
        (checked.st_mode & S_ISVTX) && checked.st_uid == 0) {
        Descriptor shared(::openat(top, ".Trash", O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        struct stat opened {};
        // The folder opened is the one checked, not one swapped in since.
        if (shared.isOpen() && ::fstat(shared.fd, &opened) == 0 &&
            opened.st_dev == checked.st_dev && opened.st_ino == checked.st_ino &&
            (opened.st_mode & S_ISVTX) && opened.st_uid == 0) {
            TrashFolders folders;
            folders.path = base + "/.Trash/" + uidName;
            QString ignored;
            folders.trash = openPrivateFolder(shared.fd, uidName, uid, folders.path, &ignored);
            if (folders.trash.isOpen() && openSubFolders(folders, uid, &ignored)) {
                return folders;
            }
        }
    }
    TrashFolders folders;
    folders.path = base + "/.Trash-" + uidName;
    folders.trash = openPrivateFolder(top, ".Trash-" + uidName, uid, folders.path, error, denied);
    if (!folders.trash.isOpen() || !openSubFolders(folders, uid, error)) {
        return std::nullopt;
    }
    return folders;
}

/// Cuts a name to at most limit bytes without splitting a UTF-8 sequence.
QByteArray shortened(const QByteArray &name, qsizetype limit)
{
    if (name.size() <= limit) {
        return name;
    }
    qsizetype end = limit;
    while (end > 0 && (static_cast<unsigned char>(name.at(end)) & 0xC0) == 0x80) {
        --end;
    }
    return name.left(end);
}

bool writeAll(int fd, const QByteArray &bytes)
{
    qsizetype done = 0;
    while (done < bytes.size()) {
        const ssize_t written =
            ::write(fd, bytes.constData() + done, std::size_t(bytes.size() - done));
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        done += written;
    }
    return true;
}

QByteArray readAll(int fd, qsizetype limit)
{
    QByteArray bytes;
    char chunk[4096];
    while (bytes.size() < limit) {
        const ssize_t count = ::read(
            fd, chunk, std::min<std::size_t>(sizeof chunk, std::size_t(limit - bytes.size())));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return bytes;
        }
        bytes.append(chunk, qsizetype(count));
    }
    return bytes;
}

bool renameWithoutReplacing(int fromFolder, const QByteArray &from, int toFolder,
                            const QByteArray &to)
{
    if (::renameat2(fromFolder, from.constData(), toFolder, to.constData(), RENAME_NOREPLACE) ==
        0) {
        return true;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return false;
    }
    // File systems without RENAME_NOREPLACE: the exclusive record already reserved the name.
    return ::renameat(fromFolder, from.constData(), toFolder, to.constData()) == 0;
}

bool sameFile(const struct stat &a, const struct stat &b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

using SeenFiles = std::set<std::pair<quint64, quint64>>;

/// The bytes the blocks of everything in a folder take, each hard-linked file once, as
/// `du -B1` counts them; it stays on the folder's device and within the walk's depth.
qint64 diskUsage(int folder, dev_t device, std::size_t depth, SeenFiles &seen)
{
    qint64 total = 0;
    const int own = ::dup(folder);
    DIR *dir = own >= 0 ? ::fdopendir(own) : nullptr;
    if (!dir) {
        if (own >= 0) {
            ::close(own);
        }
        return 0;
    }
    while (const dirent *entry = ::readdir(dir)) {
        const char *name = entry->d_name;
        if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0) {
            continue;
        }
        struct stat info {};
        if (::fstatat(::dirfd(dir), name, &info, AT_SYMLINK_NOFOLLOW) != 0) {
            continue;
        }
        if (info.st_nlink > 1 && !S_ISDIR(info.st_mode) &&
            !seen.insert({quint64(info.st_dev), quint64(info.st_ino)}).second) {
            continue;
        }
        total += qint64(info.st_blocks) * 512;
        if (S_ISDIR(info.st_mode) && depth < FileSystem::maximumWalkDepth &&
            info.st_dev == device) {
            const Descriptor child(
                ::openat(::dirfd(dir), name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
            if (child.isOpen()) {
                total += diskUsage(child.fd, device, depth + 1, seen);
            }
        }
    }
    ::closedir(dir);
    return total;
}

/// Adds the trashed folder's line to the trash's "directorysizes" cache, replacing an older
/// line for the same name; the file is replaced whole, never left half-written.
void recordDirectorySize(const TrashFolders &folders, const QByteArray &name)
{
    struct stat folder {};
    struct stat info {};
    const QByteArray infoName = name + ".trashinfo";
    if (::fstatat(folders.files.fd, name.constData(), &folder, AT_SYMLINK_NOFOLLOW) != 0 ||
        !S_ISDIR(folder.st_mode) ||
        ::fstatat(folders.info.fd, infoName.constData(), &info, AT_SYMLINK_NOFOLLOW) != 0) {
        return;
    }
    const Descriptor trashed(::openat(folders.files.fd, name.constData(),
                                      O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!trashed.isOpen()) {
        return;
    }
    SeenFiles seen;
    const qint64 size =
        qint64(folder.st_blocks) * 512 + diskUsage(trashed.fd, folder.st_dev, 1, seen);
    const QByteArray encodedName = FreedesktopTrash::encodePath(name);

    QByteArray contents;
    const Descriptor old(
        ::openat(folders.trash.fd, "directorysizes", O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (old.isOpen()) {
        contents = FreedesktopTrash::keptDirectorySizes(
            readAll(old.fd, FreedesktopTrash::maximumDirectorySizesBytes + 1), encodedName);
    }
    contents += QByteArray::number(size) + ' ' + QByteArray::number(qint64(info.st_mtime)) + ' ' +
                encodedName + '\n';

    const QByteArray staged = "directorysizes." + QByteArray::number(::getpid()) + ".new";
    ::unlinkat(folders.trash.fd, staged.constData(), 0);
    Descriptor file(::openat(folders.trash.fd, staged.constData(),
                             O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file.isOpen()) {
        return;
    }
    const bool written = writeAll(file.fd, contents) && ::fsync(file.fd) == 0;
    file.reset();
    if (!written ||
        ::renameat(folders.trash.fd, staged.constData(), folders.trash.fd, "directorysizes") != 0) {
        ::unlinkat(folders.trash.fd, staged.constData(), 0);
    }
}

} // namespace

QByteArray FreedesktopTrash::keptDirectorySizes(const QByteArray &contents,
                                                const QByteArray &encodedName)
{
    QByteArray kept;
    QList<QByteArray> lines = contents.left(maximumDirectorySizesBytes).split('\n');
    // A cache cut at its cap ends in a line cut short, which is dropped.
    if (contents.size() > maximumDirectorySizesBytes) {
        lines.removeLast();
    }
    for (const QByteArray &line : std::as_const(lines)) {
        const QList<QByteArray> fields = line.split(' ');
        if (fields.size() == 3 && fields.at(2) != encodedName) {
            kept += line + '\n';
        }
    }
    return kept;
}

std::unique_ptr<Trash> Trash::create()
{
    return std::make_unique<FreedesktopTrash>();
}

FreedesktopTrash::FreedesktopTrash(QString dataHome, uid_t uid)
    : m_dataHome(std::move(dataHome))
    , m_uid(uid)
{
}

FreedesktopTrash::FreedesktopTrash()
    : FreedesktopTrash(SystemRoots::current().dataHome, ::getuid())
{
}

QByteArray FreedesktopTrash::encodePath(const QByteArray &path)
{
    // Byte by byte: a name need not be valid UTF-8, and its bytes must come back unchanged.
    static constexpr char hex[] = "0123456789ABCDEF";
    QByteArray encoded;
    encoded.reserve(path.size() * 3);
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        const bool plain = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
                           (byte >= '0' && byte <= '9') || byte == '-' || byte == '.' ||
                           byte == '_' || byte == '~' || byte == '/';
        if (plain) {
            encoded.append(c);
        } else {
            encoded.append('%').append(hex[byte >> 4]).append(hex[byte & 0xF]);
        }
    }
    return encoded;
}

Trash::Result FreedesktopTrash::moveToTrash(const Item &request)
{
    Result result;
    QByteArray item = request.path;
    while (item.size() > 1 && item.endsWith('/')) {
        item.chop(1);
    }
    const QString shown = QFile::decodeName(item);
    const auto fail = [&result, &shown](const QString &why) {
        result.error = QStringLiteral("cannot move %1 to the trash: %2").arg(shown, why);
        return result;
    };

    if (!item.startsWith('/')) {
        return fail(QStringLiteral("not an absolute path"));
    }
    if (!m_dataHome.startsWith(u'/')) {
        return fail(QStringLiteral("the data folder is not an absolute path"));
    }
    if (item == "/" || !componentsOf(item)) {
        return fail(QStringLiteral("not a plain path"));
    }
    const QByteArray homeTrash = QFile::encodeName(m_dataHome) + "/Trash";
    if (homeTrash == item || homeTrash.startsWith(QByteArray(item + '/'))) {
        return fail(QStringLiteral("it holds the trash itself"));
    }

    // From here on the item is reached through its parent's handle, opened without following
    // a link: what lies at the path now must be what was shown, and this user's.
    const QByteArray parentPath = parentOf(item);
    const QByteArray name = item.mid(item.lastIndexOf('/') + 1);
    Descriptor parent = openWithoutLinks(parentPath);
    if (!parent.isOpen()) {
        return fail(errno == ELOOP ? QStringLiteral("a folder on its path is a link")
                                   : errnoText(errno));
    }
    struct stat found {};
    if (::fstatat(parent.fd, name.constData(), &found, AT_SYMLINK_NOFOLLOW) != 0) {
        return fail(errnoText(errno));
    }
    if (request.identity.isValid() &&
        !(FileIdentity{quint64(found.st_dev), quint64(found.st_ino)} == request.identity)) {
        return fail(QStringLiteral("it changed since the scan"));
    }
    if (found.st_uid != m_uid) {
        return fail(QStringLiteral("it belongs to another user"));
    }
    const std::optional<MountKey> itemMount = MountKey::at(parent.fd, name.constData());
    const std::optional<MountKey> parentMount = MountKey::of(parent.fd);
    if (!itemMount || !parentMount) {
        return fail(errnoText(errno));
    }
    if (!(*itemMount == *parentMount)) {
        return fail(QStringLiteral("it is a mount point"));
    }

    // The home trash when the item is on its mount: the nearest existing ancestor tells.
    QByteArray probe = homeTrash;
    std::optional<MountKey> homeMount = mountOf(probe);
    while (!homeMount && probe != "/") {
        probe = parentOf(probe);
        homeMount = mountOf(probe);
    }
    TrashFolders folders;
    QByteArray topDirectory;
    QString error;
    if (homeMount && *homeMount == *itemMount) {
        const QByteArray dataHome = QFile::encodeName(m_dataHome);
        if (!ensurePath(dataHome, &error)) {
            return fail(error);
        }
        const Descriptor data(::open(dataHome.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!data.isOpen()) {
            return fail(errnoText(errno));
        }
        folders.path = homeTrash;
        folders.trash = openPrivateFolder(data.fd, "Trash", m_uid, homeTrash, &error);
        if (!folders.trash.isOpen() || !openSubFolders(folders, m_uid, &error)) {
            return fail(error);
        }
    } else {
        // The mount's top folder: up from the parent while ".." stays on the item's mount. The
        // path has no links and no "..", so each step up is the path less one component.
        topDirectory = parentPath;
        Descriptor top(::dup(parent.fd));
        while (topDirectory != "/" && top.isOpen()) {
            Descriptor up(::openat(top.fd, "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
            const std::optional<MountKey> upMount =
                up.isOpen() ? MountKey::of(up.fd) : std::nullopt;
            if (!upMount || !(*upMount == *itemMount)) {
                break;
            }
            top = std::move(up);
            topDirectory = parentOf(topDirectory);
        }
        if (!top.isOpen()) {
            return fail(errnoText(errno));
        }
        bool denied = false;
        std::optional<TrashFolders> mountFolders =
            mountTrash(top.fd, topDirectory, m_uid, &error, &denied);
        if (!mountFolders) {
            // Never deleted instead: the item stays where it is, and the caller can say why.
            result.noTrashHere = denied;
            return fail(error);
        }
        folders = std::move(*mountFolders);
        if (item.startsWith(QByteArray(folders.path + '/'))) {
            return fail(QStringLiteral("it is in the trash already"));
        }
    }

    // Path= is absolute for the home trash and relative to the top folder for a mount's trash.
    QByteArray original = item;
    if (!topDirectory.isEmpty()) {
        original = item.mid(topDirectory == "/" ? 1 : topDirectory.size() + 1);
    }
    const QByteArray info =
        "[Trash Info]\nPath=" + encodePath(original) + "\nDeletionDate=" +
        QDateTime::currentDateTime().toString(u"yyyy-MM-ddTHH:mm:ss").toLatin1() + '\n';

    // ".trashinfo" is 10 bytes, a number suffix at most 11: the record's name stays under 255.
    const QByteArray base = shortened(name, 230);
    for (int attempt = 1; attempt < 10000; ++attempt) {
        const QByteArray trashedName =
            attempt == 1 ? base : base + '.' + QByteArray::number(attempt);
        const QByteArray infoName = trashedName + ".trashinfo";
        Descriptor record(::openat(folders.info.fd, infoName.constData(),
                                   O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (!record.isOpen()) {
            if (errno == EEXIST) {
                continue;
            }
            return fail(errnoText(errno));
        }
        const auto dropRecord = [&] { ::unlinkat(folders.info.fd, infoName.constData(), 0); };
        struct stat existing {};
        if (::fstatat(folders.files.fd, trashedName.constData(), &existing, AT_SYMLINK_NOFOLLOW) ==
            0) {
            // A leftover without its record: keep it and take another name.
            record.reset();
            dropRecord();
            continue;
        }
        // The record and its folder reach the disk before the item moves, so a crash never
        // leaves a trashed item that nothing can restore.
        const bool written = writeAll(record.fd, info) && ::fsync(record.fd) == 0;
        const int writeError = errno;
        const bool closed = ::close(std::exchange(record.fd, -1)) == 0;
        if (!written || !closed || ::fsync(folders.info.fd) != 0) {
            const int syncError = !written ? writeError : errno;
            dropRecord();
            return fail(errnoText(syncError));
        }
        if (!renameWithoutReplacing(parent.fd, name, folders.files.fd, trashedName)) {
            const int renameError = errno;
            dropRecord();
            if (renameError == EEXIST) {
                continue;
            }
            return fail(errnoText(renameError));
        }
        // Another entry swapped in between the check and the rename goes back where it was.
        struct stat moved {};
        if (::fstatat(folders.files.fd, trashedName.constData(), &moved, AT_SYMLINK_NOFOLLOW) !=
                0 ||
            !sameFile(moved, found)) {
            renameWithoutReplacing(folders.files.fd, trashedName, parent.fd, name);
            dropRecord();
            return fail(QStringLiteral("it changed while it was being moved"));
        }
        ::fsync(folders.files.fd);
        if (S_ISDIR(found.st_mode)) {
            recordDirectorySize(folders, trashedName);
        }
        result.moved = true;
        result.trashedPath = QFile::decodeName(folders.path + "/files/" + trashedName);
        return result;
    }
    return fail(QStringLiteral("no free name in the trash"));
}

} // namespace platform
