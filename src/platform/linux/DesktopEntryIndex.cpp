#include "DesktopEntryIndex.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

namespace {

constexpr qint64 maximumEntryBytes = 64 * 1024;

bool isTrue(const QByteArray &value)
{
    return value.trimmed() == "true";
}

// An entry's text, or nothing when the path is not a regular file of at most the cap. Opened
// without blocking, so a pipe or a device planted under an entry's name never stalls the reader.
std::optional<QByteArray> readEntryFile(const QString &path)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        return std::nullopt;
    }
    QFile file;
    struct stat status {};
    if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size > maximumEntryBytes ||
        !file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        ::close(fd);
        return std::nullopt;
    }
    return file.read(maximumEntryBytes);
}

} // namespace

DesktopEntryIndex::DesktopEntryIndex(QStringList applicationFolders)
    : m_folders(std::move(applicationFolders))
{
}

QStringList DesktopEntryIndex::standardFolders(const QString &dataHome, const QStringList &dataDirs,
                                               const QString &home)
{
    QStringList folders{dataHome + u"/applications"};
    for (const QString &dir : dataDirs) {
        folders.append(dir + u"/applications");
    }
    // Flatpak's exports are normally on XDG_DATA_DIRS already; listed again for sessions that
    // were started without its profile script. A repeat adds nothing.
    folders.append(home + u"/.local/share/flatpak/exports/share/applications");
    folders.append(QStringLiteral("/var/lib/flatpak/exports/share/applications"));
    folders.removeDuplicates();
    return folders;
}

std::optional<DesktopEntryIndex::Entry> DesktopEntryIndex::parse(const QByteArray &content,
                                                                 const QString &id)
{
    Entry entry;
    entry.id = id;
    bool inMainGroup = false;
    bool sawMainGroup = false;
    for (const QByteArray &rawLine : content.split('\n')) {
        const QByteArray line = rawLine.trimmed();
        if (line.startsWith('[')) {
            inMainGroup = line == "[Desktop Entry]";
            sawMainGroup |= inMainGroup;
            continue;
        }
        if (!inMainGroup || line.startsWith('#')) {
            continue;
        }
        const qsizetype equals = line.indexOf('=');
        if (equals <= 0) {
            continue;
        }
        const QByteArray key = line.left(equals).trimmed();
        const QByteArray value = line.mid(equals + 1).trimmed();
        if (key == "Name") {
            entry.name = QString::fromUtf8(value);
        } else if (key == "StartupWMClass") {
            entry.startupWMClass = QString::fromUtf8(value);
        } else if ((key == "NoDisplay" || key == "Hidden") && isTrue(value)) {
            return std::nullopt;
        }
    }
    if (!sawMainGroup) {
        return std::nullopt;
    }
    return entry;
}

void DesktopEntryIndex::refreshIfChanged()
{
    QList<QDateTime> stamps;
    for (const QString &folder : m_folders) {
        stamps.append(QFileInfo(folder).lastModified());
    }
    if (m_loaded && stamps == m_stamps) {
        return;
    }
    m_stamps = stamps;
    m_loaded = true;
    m_byId.clear();
    m_idByWMClass.clear();
    QSet<QString> seen;
    for (const QString &folder : m_folders) {
        QDirIterator it(folder, {QStringLiteral("*.desktop")}, QDir::Files | QDir::Readable,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString path = it.next();
            // The desktop file id: the path below the folder, "/" read as "-".
            QString id = path.mid(folder.size() + 1);
            id.chop(int(qstrlen(".desktop")));
            id.replace(u'/', u'-');
            // The first folder that has an id decides it, even when that entry is hidden.
            if (seen.contains(id)) {
                continue;
            }
            seen.insert(id);
            const std::optional<QByteArray> content = readEntryFile(path);
            if (!content) {
                continue;
            }
            const std::optional<Entry> entry = parse(*content, id);
            if (!entry) {
                continue;
            }
            m_byId.insert(id, *entry);
            if (!entry->startupWMClass.isEmpty() &&
                !m_idByWMClass.contains(entry->startupWMClass)) {
                m_idByWMClass.insert(entry->startupWMClass, id);
            }
        }
    }
}

std::optional<DesktopEntryIndex::Entry> DesktopEntryIndex::lookup(const QString &instance,
                                                                  const QString &windowClass)
{
    refreshIfChanged();
    for (const QString &wmClass : {instance, windowClass}) {
        if (const auto id = m_idByWMClass.constFind(wmClass);
            !wmClass.isEmpty() && id != m_idByWMClass.cend()) {
            return m_byId.value(*id);
        }
    }
    for (const QString &name : {instance, windowClass, instance.toLower(), windowClass.toLower()}) {
        if (const auto entry = m_byId.constFind(name); !name.isEmpty() && entry != m_byId.cend()) {
            return *entry;
        }
    }
    return std::nullopt;
}

} // namespace platform
