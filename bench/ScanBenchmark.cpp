// Times the disk cleaner's walk and its whole scan on a synthetic home (bench/make_home.sh).
// Usage: kv_scan_bench HOME walk|iterator|scan
//   walk      the platform walk (getdents64 + fstatat against the open folder), files and bytes
//   iterator  std::filesystem's recursive iterator doing the same, for comparison
//   scan      DiskScanner's five phases on its worker thread, as the app runs them
// Prints the time in seconds and the peak resident memory of the process.

#include "cleaner/DiskScanner.h"
#include "platform/FileSystem.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>

#include <cstdio>
#include <filesystem>

namespace {

qint64 peakResidentKib()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) {
        return -1;
    }
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:")) {
            return line.mid(6).trimmed().split(' ').constFirst().toLongLong();
        }
    }
    return -1;
}

int walk(const QString &home)
{
    qint64 files = 0;
    qint64 bytes = 0;
    platform::FileSystem::walk(home, [&](const platform::WalkEntry &entry) {
        ++files;
        bytes += entry.size;
        return true;
    });
    std::printf("files %lld, bytes %lld\n", static_cast<long long>(files),
                static_cast<long long>(bytes));
    return 0;
}

int iterate(const QString &home)
{
    namespace fs = std::filesystem;
    qint64 files = 0;
    qint64 bytes = 0;
    std::error_code error;
    fs::recursive_directory_iterator it(home.toStdString(),
                                        fs::directory_options::skip_permission_denied, error);
    for (; !error && it != fs::recursive_directory_iterator(); it.increment(error)) {
        const fs::file_status status = it->symlink_status(error);
        if (error || fs::is_directory(status)) {
            continue;
        }
        ++files;
        bytes += qint64(it->file_size(error));
        (void)it->last_write_time(error);
    }
    std::printf("files %lld, bytes %lld\n", static_cast<long long>(files),
                static_cast<long long>(bytes));
    return 0;
}

int scan(const QString &home)
{
    DiskScanner::Dependencies dependencies;
    dependencies.roots = ScanRoots::forHome(home, home + u"/tmp");
    dependencies.runner = platform::ToolRunner::create();
    DiskScanner scanner(std::move(dependencies));
    QObject::connect(&scanner, &DiskScanner::isScanningChanged, &scanner, [&scanner] {
        if (!scanner.isScanning()) {
            QCoreApplication::quit();
        }
    });
    scanner.scanDeepDisk();
    QCoreApplication::exec();
    std::printf("heavy files %lld, folders %lld, media %lld, recommendations %lld\n",
                static_cast<long long>(scanner.heavyFiles().size()),
                static_cast<long long>(scanner.heavyFolders().size()),
                static_cast<long long>(scanner.heavyMedia().size()),
                static_cast<long long>(scanner.recommendations().size()));
    return 0;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 3) {
        std::fprintf(stderr, "usage: kv_scan_bench HOME walk|iterator|scan\n");
        return 2;
    }
    const QString home = arguments.at(1);
    const QString mode = arguments.at(2);
    QElapsedTimer timer;
    timer.start();
    int status = 2;
    if (mode == u"walk") {
        status = walk(home);
    } else if (mode == u"iterator") {
        status = iterate(home);
    } else if (mode == u"scan") {
        status = scan(home);
    }
    std::printf("%s: %.3f s, peak RSS %lld KiB\n", qPrintable(mode),
                double(timer.nsecsElapsed()) / 1e9, static_cast<long long>(peakResidentKib()));
    return status;
}
