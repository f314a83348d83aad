#include "FreedesktopTrash.h"

#include "platform/SystemRoots.h"

#include <QDateTime>
#include <QFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/fs.h>
#include <optional>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace platform {

namespace {

/// Where an entry lives: its device and, where the kernel tells it, its mount (bind mounts of
/// one file system share a device but not a mount, and rename() fails between them).
struct MountKey {
    dev_t device = 0;
    quint64 mountId = 0;
    bool operator==(const MountKey &) const = default;
};

std::optional<MountKey> mountOf(const QByteArray &path)
{
    struct statx info {};
    if (::statx(AT_FDCWD, path.constData(), AT_SYMLINK_NOFOLLOW, STATX_MNT_ID, &info) != 0) {
        return std::nullopt;
    }
    MountKey key;
    key.device = makedev(info.stx_dev_major, info.stx_dev_minor);
    if (info.stx_mask & STATX_MNT_ID) {
        key.mountId = info.stx_mnt_id;
    }
    return key;
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

/// A trash folder with its "files" and "info" sub-folders.
bool prepareTrash(const QByteArray &trash, QString *error)
{
    return ensurePrivateFolder(trash, error) && ensurePrivateFolder(trash + "/files", error) &&
           ensurePrivateFolder(trash + "/info", error);
}

/// The mount's top folder: the highest ancestor of path on the same mount.
QByteArray topDirectoryOf(const QByteArray &path, const MountKey &mount)
{
    QByteArray top = path;
    while (top != "/") {
        const QByteArray parent = parentOf(top);
        const std::optional<MountKey> parentMount = mountOf(parent);
        if (!parentMount || !(*parentMount == mount)) {
            break;
        }
        top = parent;
    }
    return top;
}

/// The trash folder of another mount, by the Trash specification's two methods, or empty.
QByteArray mountTrash(const QByteArray &top, uid_t uid, QString *error)
{
    const QByteArray base = top == "/" ? QByteArray() : top;
    const QByteArray shared = base + "/.Trash";
    struct stat info {};
    if (::lstat(shared.constData(), &info) == 0 && S_ISDIR(info.st_mode) &&
        (info.st_mode & S_ISVTX)) {
        const QByteArray mine = shared + '/' + QByteArray::number(uid);
        struct stat own {};
        QString ignored;
        if (ensurePrivateFolder(mine, &ignored) && ::lstat(mine.constData(), &own) == 0 &&
            own.st_uid == uid && prepareTrash(mine, &ignored)) {
            return mine;
        }
    }
    const QByteArray personal = base + "/.Trash-" + QByteArray::number(uid);
    struct stat own {};
    if (!ensurePrivateFolder(personal, error)) {
        return {};
    }
    if (::lstat(personal.constData(), &own) != 0 || own.st_uid != uid) {
        *error = QStringLiteral("%1 belongs to another user").arg(QFile::decodeName(personal));
        return {};
    }
    return prepareTrash(personal, error) ? personal : QByteArray();
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

bool renameWithoutReplacing(const QByteArray &from, const QByteArray &to)
{
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0) {
        return true;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return false;
    }
    // File systems without RENAME_NOREPLACE: the exclusive record already reserved the name.
    return ::rename(from.constData(), to.constData()) == 0;
}

} // namespace

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

Trash::Result FreedesktopTrash::moveToTrash(const QString &path)
{
    Result result;
    const auto fail = [&result, &path](const QString &why) {
        result.error = QStringLiteral("cannot move %1 to the trash: %2").arg(path, why);
        return result;
    };

    QByteArray item = QFile::encodeName(path);
    while (item.size() > 1 && item.endsWith('/')) {
        item.chop(1);
    }
    if (!item.startsWith('/')) {
        return fail(QStringLiteral("not an absolute path"));
    }
    if (!m_dataHome.startsWith(u'/')) {
        return fail(QStringLiteral("the data folder is not an absolute path"));
    }
    const std::optional<MountKey> itemMount = mountOf(item);
    if (!itemMount) {
        return fail(errnoText(errno));
    }
    const QByteArray homeTrash = QFile::encodeName(m_dataHome) + "/Trash";
    if (homeTrash == item || homeTrash.startsWith(QByteArray(item + '/')) || item == "/") {
        return fail(QStringLiteral("it holds the trash itself"));
    }

    // The home trash when the item is on its mount: the nearest existing ancestor tells.
    QByteArray probe = homeTrash;
    std::optional<MountKey> homeMount = mountOf(probe);
    while (!homeMount && probe != "/") {
        probe = parentOf(probe);
        homeMount = mountOf(probe);
    }
    QByteArray trash;
    QByteArray topDirectory;
    QString error;
    if (homeMount && *homeMount == *itemMount) {
        if (!ensurePath(QFile::encodeName(m_dataHome), &error) ||
            !prepareTrash(homeTrash, &error)) {
            return fail(error);
        }
        trash = homeTrash;
    } else {
        topDirectory = topDirectoryOf(item, *itemMount);
        if (topDirectory == item) {
            return fail(QStringLiteral("it is a mount point"));
        }
        trash = mountTrash(topDirectory, m_uid, &error);
        if (trash.isEmpty()) {
            return fail(error);
        }
        if (item.startsWith(QByteArray(trash + '/'))) {
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
    const QByteArray base = shortened(item.mid(item.lastIndexOf('/') + 1), 230);
    for (int attempt = 1; attempt < 10000; ++attempt) {
        const QByteArray name = attempt == 1 ? base : base + '.' + QByteArray::number(attempt);
        const QByteArray infoPath = trash + "/info/" + name + ".trashinfo";
        const QByteArray target = trash + "/files/" + name;
        const int fd = ::open(infoPath.constData(),
                              O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
        if (fd < 0) {
            if (errno == EEXIST) {
                continue;
            }
            return fail(errnoText(errno));
        }
        struct stat existing {};
        if (::lstat(target.constData(), &existing) == 0) {
            // A leftover without its record: keep it and take another name.
            ::close(fd);
            ::unlink(infoPath.constData());
            continue;
        }
        const bool written = writeAll(fd, info);
        const int writeError = errno;
        if (::close(fd) != 0 || !written) {
            const int closeError = written ? errno : writeError;
            ::unlink(infoPath.constData());
            return fail(errnoText(closeError));
        }
        if (!renameWithoutReplacing(item, target)) {
            const int renameError = errno;
            ::unlink(infoPath.constData());
            if (renameError == EEXIST) {
                continue;
            }
            return fail(errnoText(renameError));
        }
        result.moved = true;
        result.trashedPath = QFile::decodeName(target);
        return result;
    }
    return fail(QStringLiteral("no free name in the trash"));
}

} // namespace platform
