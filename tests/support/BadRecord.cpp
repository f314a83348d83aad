#include "BadRecord.h"

#include "TestFiles.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

QStringList BadRecord::kinds()
{
    return {u"missing"_s,
            u"empty"_s,
            u"binary junk"_s,
            u"100 MB"_s,
            u"directory"_s,
            u"unreadable"_s,
            u"fifo"_s,
            u"top-level array"_s,
            u"top-level string"_s,
            u"missing key"_s,
            u"wrong-typed value"_s,
            u"null value"_s,
            u"truncated json"_s,
            u"no permission"_s};
}

bool BadRecord::plant(const QString &path, const QString &kind)
{
    QFile::remove(path);
    QDir(path).removeRecursively();
    if (kind == u"missing") {
        return true;
    }
    if (kind == u"empty") {
        return TestFiles::write(path, {});
    }
    if (kind == u"binary junk") {
        QByteArray junk;
        for (int i = 0; i < 4096; ++i) {
            junk.append(char((i * 7919) & 0xFF));
        }
        return TestFiles::write(path, junk);
    }
    if (kind == u"100 MB") {
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write("{\"") == 2 &&
               file.resize(100LL * 1024 * 1024);
    }
    if (kind == u"directory") {
        return QDir().mkpath(path);
    }
    if (kind == u"unreadable") {
        // Even root cannot read this one: reading the start of /proc/self/mem fails with EIO.
        return QFile::link(u"/proc/self/mem"_s, path);
    }
    if (kind == u"fifo") {
        return ::mkfifo(QFile::encodeName(path).constData(), 0600) == 0;
    }
    if (kind == u"top-level array") {
        return TestFiles::write(path, "[true,false]");
    }
    if (kind == u"top-level string") {
        return TestFiles::write(path, "\"firstRunComplete\"");
    }
    if (kind == u"missing key") {
        return TestFiles::write(path, R"({"firstRunComplete":true,"launchOnStartup":true})");
    }
    if (kind == u"wrong-typed value") {
        return TestFiles::write(path, R"({"firstRunComplete":"yes","installDate":"today",)"
                                      R"("launchOnStartup":1,"autoOptimize":"true"})");
    }
    if (kind == u"null value") {
        return TestFiles::write(path, R"({"firstRunComplete":null,"installDate":null,)"
                                      R"("launchOnStartup":null,"autoOptimize":null})");
    }
    if (kind == u"no permission") {
        // Valid contents behind mode 000: only an unprivileged reader is kept out.
        return TestFiles::write(path, R"({"firstRunComplete":true,"installDate":5,)"
                                      R"("launchOnStartup":true,"autoOptimize":true})") &&
               QFile::setPermissions(path, {});
    }
    if (kind == u"truncated json") {
        return TestFiles::write(path, R"({"firstRunComplete":true,"installDate":17)");
    }
    return false;
}

bool BadRecord::permissionsDoNotApply()
{
    return ::geteuid() == 0;
}
