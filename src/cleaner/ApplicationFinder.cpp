#include "ApplicationFinder.h"

#include "platform/FileSystem.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

namespace {

constexpr qint64 smallFileLimit = 1024 * 1024;

QByteArray readSmallFile(const QString &path)
{
    const std::optional<platform::FileStatus> status = platform::FileSystem::status(path);
    if (!status || status->isDirectory || status->size > smallFileLimit) {
        return {};
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return file.read(smallFileLimit);
}

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

QString unescapeValve(const QString &value)
{
    QString text;
    text.reserve(value.size());
    for (qsizetype i = 0; i < value.size(); ++i) {
        if (value.at(i) == u'\\' && i + 1 < value.size()) {
            ++i;
        }
        text.append(value.at(i));
    }
    return text;
}

} // namespace

QStringList ApplicationFinder::parseLibraryFolders(const QByteArray &vdf)
{
    static const QRegularExpression pathLine(QStringLiteral(R"re("path"\s+"((?:[^"\\]|\\.)*)")re"));
    QStringList paths;
    QRegularExpressionMatchIterator matches = pathLine.globalMatch(QString::fromUtf8(vdf));
    while (matches.hasNext()) {
        const QString path = unescapeValve(matches.next().captured(1));
        if (QDir::isAbsolutePath(path)) {
            paths.append(QDir::cleanPath(path));
        }
    }
    return paths;
}

QString ApplicationFinder::valveValue(const QByteArray &text, const QByteArray &key)
{
    const QRegularExpression line(u'"' + QRegularExpression::escape(QString::fromUtf8(key)) +
                                      QStringLiteral(R"re("\s+"((?:[^"\\]|\\.)*)")re"),
                                  QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = line.match(QString::fromUtf8(text));
    return match.hasMatch() ? unescapeValve(match.captured(1)) : QString();
}

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
    QStringList libraries;
    const auto add = [&libraries](const QString &path) {
        const auto status = platform::FileSystem::status(path);
        if (!status) {
            return;
        }
        const QString resolved = QFileInfo(path).canonicalFilePath();
        const QStringList forms{QDir::cleanPath(path), resolved};
        for (const QString &candidate : forms) {
            if (!candidate.isEmpty() && !libraries.contains(candidate)) {
                libraries.append(candidate);
            }
        }
    };
    for (const QString &root : roots.steamRoots) {
        if (!platform::FileSystem::status(root)) {
            continue;
        }
        add(root);
        const QStringList files{root + u"/steamapps/libraryfolders.vdf",
                                root + u"/config/libraryfolders.vdf"};
        for (const QString &file : files) {
            for (const QString &library : parseLibraryFolders(readSmallFile(file))) {
                add(library);
            }
        }
    }
    return libraries;
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
            QString name = desktopEntryName(readSmallFile(
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
            QString name =
                desktopEntryName(readSmallFile(current + u"/meta/gui/" + snap + u".desktop"));
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
                const QByteArray text = readSmallFile(steamapps + u'/' + manifest);
                const QString folder = valveValue(text, "installdir");
                if (!folder.isEmpty()) {
                    names.insert(folder, valveValue(text, "name"));
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
