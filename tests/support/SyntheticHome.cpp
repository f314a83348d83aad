#include "SyntheticHome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    return process.waitForFinished(30000) && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

} // namespace

SyntheticHome::SyntheticHome()
    : m_root(QDir::tempPath() + u"/kv-synthetic-XXXXXX")
{
    makeFolder(home());
    makeFolder(tempDir());
    makeFolder(outside());
}

bool SyntheticHome::makeFolder(const QString &path)
{
    return QDir().mkpath(path);
}

bool SyntheticHome::makeFile(const QString &path, qint64 size, const QDateTime &modified)
{
    return makeFolder(QFileInfo(path).path()) &&
           run(QStringLiteral("truncate"), {QStringLiteral("-s"), QString::number(size), path}) &&
           run(QStringLiteral("touch"),
               {QStringLiteral("-m"), QStringLiteral("-d"),
                u'@' + QString::number(modified.toSecsSinceEpoch()), path});
}

bool SyntheticHome::makeFileQuickly(const QString &path, qint64 size, const QDateTime &modified)
{
    if (!makeFolder(QFileInfo(path).path())) {
        return false;
    }
    const QByteArray name = QFile::encodeName(path);
    const int fd = ::open(name.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0) {
        return false;
    }
    const bool sized = ::ftruncate(fd, off_t(size)) == 0;
    ::close(fd);
    timespec times[2]{};
    times[0].tv_nsec = UTIME_OMIT;
    times[1].tv_sec = time_t(modified.toSecsSinceEpoch());
    return sized && ::utimensat(AT_FDCWD, name.constData(), times, 0) == 0;
}

bool SyntheticHome::writeFile(const QString &path, const QByteArray &bytes)
{
    makeFolder(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
           file.write(bytes) == bytes.size();
}

bool SyntheticHome::makeLink(const QString &target, const QString &link)
{
    makeFolder(QFileInfo(link).path());
    return ::symlink(QFile::encodeName(target).constData(), QFile::encodeName(link).constData()) ==
           0;
}
