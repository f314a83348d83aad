// The XDG base directory rules: a variable that is unset, empty or relative is ignored and the
// documented default under HOME is used instead.

#include "platform/SystemRoots.h"
#include "platform/linux/XdgUserDirs.h"

#include <QDir>
#include <QFile>

#include <pwd.h>
#include <unistd.h>

namespace platform {

namespace {

QString absoluteOrEmpty(const QString &path)
{
    return QDir::isAbsolutePath(path) ? QDir::cleanPath(path) : QString();
}

QString homeFolder(const QProcessEnvironment &environment)
{
    const QString fromEnvironment = absoluteOrEmpty(environment.value(QStringLiteral("HOME")));
    if (!fromEnvironment.isEmpty()) {
        return fromEnvironment;
    }
    if (const passwd *entry = ::getpwuid(::getuid()); entry && entry->pw_dir) {
        return QDir::cleanPath(QString::fromLocal8Bit(entry->pw_dir));
    }
    return QStringLiteral("/");
}

QString xdgFolder(const QProcessEnvironment &environment, const char *variable,
                  const QString &fallback)
{
    const QString value = absoluteOrEmpty(environment.value(QString::fromLatin1(variable)));
    return value.isEmpty() ? fallback : value;
}

QStringList dataDirectories(const QProcessEnvironment &environment)
{
    QStringList dirs;
    const QStringList listed =
        environment.value(QStringLiteral("XDG_DATA_DIRS")).split(QLatin1Char(':'));
    for (const QString &entry : listed) {
        if (const QString dir = absoluteOrEmpty(entry); !dir.isEmpty()) {
            dirs.append(dir);
        }
    }
    if (dirs.isEmpty()) {
        dirs = {QStringLiteral("/usr/local/share"), QStringLiteral("/usr/share")};
    }
    return dirs;
}

} // namespace

SystemRoots SystemRoots::current()
{
    return fromEnvironment(QProcessEnvironment::systemEnvironment());
}

SystemRoots SystemRoots::fromEnvironment(const QProcessEnvironment &environment)
{
    SystemRoots roots;
    roots.procRoot = QStringLiteral("/proc");
    roots.sysRoot = QStringLiteral("/sys");
    roots.home = homeFolder(environment);
    roots.configHome = xdgFolder(environment, "XDG_CONFIG_HOME", roots.home + u"/.config");
    roots.dataHome = xdgFolder(environment, "XDG_DATA_HOME", roots.home + u"/.local/share");
    roots.cacheHome = xdgFolder(environment, "XDG_CACHE_HOME", roots.home + u"/.cache");
    roots.stateHome = xdgFolder(environment, "XDG_STATE_HOME", roots.home + u"/.local/state");
    roots.dataDirs = dataDirectories(environment);
    roots.runtimeDir = absoluteOrEmpty(environment.value(QStringLiteral("XDG_RUNTIME_DIR")));
    roots.tempDir = xdgFolder(environment, "TMPDIR", QStringLiteral("/tmp"));

    QFile userDirsFile(roots.configHome + u"/user-dirs.dirs");
    QHash<QString, QString> userDirs;
    if (userDirsFile.open(QIODevice::ReadOnly)) {
        userDirs = XdgUserDirs::parse(userDirsFile.read(64 * 1024), roots.home);
    }
    roots.desktopDir = userDirs.value(QStringLiteral("XDG_DESKTOP_DIR"), roots.home + u"/Desktop");
    roots.downloadDir =
        userDirs.value(QStringLiteral("XDG_DOWNLOAD_DIR"), roots.home + u"/Downloads");
    return roots;
}

} // namespace platform
