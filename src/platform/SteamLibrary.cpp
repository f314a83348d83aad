#include "SteamLibrary.h"

#include "FileSystem.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

namespace platform {

namespace {

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

QStringList SteamLibrary::standardRoots(const QString &home, const QString &dataHome)
{
    return {
        dataHome + u"/Steam",
        home + u"/.steam/steam",
        home + u"/.var/app/com.valvesoftware.Steam/.local/share/Steam",
    };
}

QStringList SteamLibrary::parseLibraryFolders(const QByteArray &vdf)
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

QString SteamLibrary::valveValue(const QByteArray &text, const QByteArray &key)
{
    const QRegularExpression line(u'"' + QRegularExpression::escape(QString::fromUtf8(key)) +
                                      QStringLiteral(R"re("\s+"((?:[^"\\]|\\.)*)")re"),
                                  QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = line.match(QString::fromUtf8(text));
    return match.hasMatch() ? unescapeValve(match.captured(1)) : QString();
}

QStringList SteamLibrary::libraries(const QStringList &steamRoots)
{
    QStringList libraries;
    const auto add = [&libraries](const QString &path) {
        if (!FileSystem::status(path)) {
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
    for (const QString &root : steamRoots) {
        if (!FileSystem::status(root)) {
            continue;
        }
        add(root);
        const QStringList files{root + u"/steamapps/libraryfolders.vdf",
                                root + u"/config/libraryfolders.vdf"};
        for (const QString &file : files) {
            for (const QString &library : parseLibraryFolders(FileSystem::readSmallFile(file))) {
                add(library);
            }
        }
    }
    return libraries;
}

QString SteamLibrary::appIdOfWindowClass(const QString &windowClass)
{
    static const QRegularExpression steamApp(QStringLiteral(R"(^steam_app_([0-9]{1,10})$)"),
                                             QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = steamApp.match(windowClass);
    return match.hasMatch() ? match.captured(1) : QString();
}

QString SteamLibrary::gameName(const QStringList &libraries, const QString &appId)
{
    // Digits only: the id becomes part of a file name.
    static const QRegularExpression digits(QStringLiteral(R"(^[0-9]{1,10}$)"));
    if (!digits.match(appId).hasMatch()) {
        return {};
    }
    for (const QString &library : libraries) {
        const QString name = valveValue(FileSystem::readSmallFile(
                                            library + u"/steamapps/appmanifest_" + appId + u".acf"),
                                        "name")
                                 .trimmed();
        if (!name.isEmpty()) {
            return name;
        }
    }
    return {};
}

} // namespace platform
