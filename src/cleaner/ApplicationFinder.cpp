#include "ApplicationFinder.h"

#include "platform/FileSystem.h"
#include "platform/SteamLibrary.h"

#include <QFile>
#include <QFileInfo>

namespace {

/// The folders (not links to folders) inside a folder, sorted by name for a stable order.
QStringList subfolders(const QString &folder)
{
    QStringList names = platform::FileSystem::list(folder).value_or(QStringList());
    names.sort();
    QStringList folders;
    for (const QString &name : names) {
        const auto status = platform::FileSystem::status(folder + u'/' + name);
        if (status && status->isDirectory) {
            folders.append(name);
        }
    }
    return folders;
}

} // namespace

QString ApplicationFinder::desktopEntryName(const QByteArray &text)
{
    bool inEntry = false;
    for (const QByteArray &rawLine : text.split('\n')) {
        const QByteArray line = rawLine.trimmed();
        if (line.startsWith('[')) {
            inEntry = line == "[Desktop Entry]";
            continue;
        }
        if (inEntry && line.startsWith("Name")) {
            const qsizetype equals = line.indexOf('=');
            if (equals > 0 && line.left(equals).trimmed() == "Name") {
                return QString::fromUtf8(line.mid(equals + 1).trimmed());
            }
        }
    }
    return {};
}

QString ApplicationFinder::snapCurrentRevision(const QString &snapFolder)
{
    const QString link = snapFolder + u"/current";
    const auto status = platform::FileSystem::status(link);
    if (!status || !status->isSymbolicLink) {
        return {};
    }
    // Only a revision in the snap's own folder ("1234", "x1"), never a path leading elsewhere.
    const QString revision = QFile::symLinkTarget(link);
    if (revision.isEmpty() || QFileInfo(revision).absolutePath() != snapFolder) {
        return {};
    }
    const auto target = platform::FileSystem::status(revision);
    return target && target->isDirectory ? revision : QString();
}

QStringList ApplicationFinder::steamLibraries(const ScanRoots &roots)
{
    return platform::SteamLibrary::libraries(roots.steamRoots);
}

QList<ApplicationFinder::Candidate> ApplicationFinder::candidates(const ScanRoots &roots)
{
    QList<Candidate> found;
    QStringList seen;
    const auto add = [&found, &seen](QString name, const QString &path,
                                     const QString &measuredPath = {}) {
        const QString key = QFileInfo(path).canonicalFilePath();
        if (!key.isEmpty() && seen.contains(key)) {
            return;
        }
        seen.append(key.isEmpty() ? path : key);
        found.append({std::move(name), path, measuredPath});
    };

    for (const QString &root : roots.flatpakAppDirs) {
        for (const QString &id : subfolders(root)) {
            const QString path = root + u'/' + id;
            QString name = desktopEntryName(platform::FileSystem::readSmallFile(
                path + u"/current/active/export/share/applications/" + id + u".desktop"));
            add(name.isEmpty() ? id : name, path);
        }
    }

    if (!roots.snapDir.isEmpty()) {
        for (const QString &snap : subfolders(roots.snapDir)) {
            if (snap == u"bin") {
                continue;
            }
            const QString path = roots.snapDir + u'/' + snap;
            // Each kept revision is mounted beside the current one; a snap without a current
            // revision is not installed.
            const QString current = snapCurrentRevision(path);
            if (current.isEmpty()) {
                continue;
            }
            QString name = desktopEntryName(
                platform::FileSystem::readSmallFile(current + u"/meta/gui/" + snap + u".desktop"));
            add(name.isEmpty() ? snap : name, path, current);
        }
    }

    if (!roots.appImageDir.isEmpty()) {
        QStringList names = platform::FileSystem::list(roots.appImageDir).value_or(QStringList());
        names.sort();
        for (const QString &file : names) {
            if (!file.endsWith(u".AppImage", Qt::CaseInsensitive)) {
                continue;
            }
            const QString path = roots.appImageDir + u'/' + file;
            const auto status = platform::FileSystem::status(path);
            if (status && !status->isDirectory) {
                add(file.left(file.size() - 9), path);
            }
        }
    }

    for (const QString &library : steamLibraries(roots)) {
        const QString steamapps = library + u"/steamapps";
        QHash<QString, QString> names;
        QStringList manifests = platform::FileSystem::list(steamapps).value_or(QStringList());
        manifests.sort();
        for (const QString &manifest : manifests) {
            if (manifest.startsWith(u"appmanifest_") && manifest.endsWith(u".acf")) {
                const QByteArray text =
                    platform::FileSystem::readSmallFile(steamapps + u'/' + manifest);
                const QString folder = platform::SteamLibrary::valveValue(text, "installdir");
                if (!folder.isEmpty()) {
                    names.insert(folder, platform::SteamLibrary::valveValue(text, "name"));
                }
            }
        }
        for (const QString &game : subfolders(steamapps + u"/common")) {
            const QString name = names.value(game);
            add(name.isEmpty() ? game : name, steamapps + u"/common/" + game);
        }
    }
    return found;
}
