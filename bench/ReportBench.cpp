// The session report's costs on this machine: one logger sample (read /proc/stat and the memory
// figures, append a record), the aggregation over a session's records, and writing the whole
// one-page PDF, for sessions of an hour (3,600 records) and ten hours (36,000).
//
//   kv_bench_report logger [SAMPLES]     one logger sample, timed over SAMPLES samples
//   kv_bench_report report RECORDS [RUNS] aggregation and PDF, median of RUNS, and peak memory
//   kv_bench_report sample RECORDS PATH  writes one report, for looking at

#include "HandClock.h"
#include "platform/MemoryCounters.h"
#include "platform/ProcessorTicks.h"
#include "sessions/PDFReportGenerator.h"
#include "sessions/SessionLogger.h"
#include "ui/IconMap.h"

#include <QFile>
#include <QGuiApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

// A session of count seconds with loads that vary, as a real one does.
SessionReportView session(int count)
{
    SessionReportView view;
    view.startTime = QDateTime::currentDateTime().addSecs(-count);
    view.endTime = QDateTime::currentDateTime();
    view.ramStats = RAMStats{16, 9.5, 6.5, 59.4, 7, 2, 0.5};
    view.records.reserve(count);
    for (int i = 0; i < count; ++i) {
        SessionRecord record;
        record.id = QUuid::createUuid();
        record.time = view.startTime.addSecs(i + 1);
        record.cpu = 20 + (i * 37 % 61);
        record.ramPercent = 45 + (i * 13 % 31);
        view.records.append(record);
    }
    return view;
}

double peakResidentMB()
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly)) {
        return 0;
    }
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:")) {
            return line.mid(6).trimmed().split(' ').first().toDouble() / 1024;
        }
    }
    return 0;
}

ReportIcons icons()
{
    // Found before timing starts, as a running program will have done by then.
    return ReportIcons{[font = QFont(IconMap::fontFamily())] { return font; }, &IconMap::glyph};
}

int logger(int samples)
{
    HandClock clock;
    SessionLogger logger(clock, platform::ProcessorTicks::create(),
                         platform::MemoryCounters::create());
    logger.start();
    std::vector<double> micro;
    micro.reserve(std::size_t(samples));
    for (int i = 0; i < samples; ++i) {
        const auto start = Clock::now();
        Q_EMIT clock.last->timeout();
        micro.push_back(millisecondsSince(start) * 1000);
    }
    std::sort(micro.begin(), micro.end());
    std::printf("logger sample over %d samples: median %.1f us, p90 %.1f us, max %.1f us "
                "(last: %.1f %% processor, %.1f %% memory)\n",
                samples, micro.at(micro.size() / 2), micro.at(micro.size() * 9 / 10), micro.back(),
                logger.records().last().cpu, logger.records().last().ramPercent);
    return 0;
}

int report(int records, int runs)
{
    const SessionReportView view = session(records);
    const double before = peakResidentMB();
    std::vector<double> aggregation;
    std::vector<double> whole;
    QTemporaryDir folder;
    const QString path = folder.filePath(u"report.pdf"_s);
    for (int i = 0; i < runs; ++i) {
        auto start = Clock::now();
        const SessionReportView::Metrics figures = view.metrics();
        const QStringList advice = view.generateRecommendations();
        aggregation.push_back(millisecondsSince(start));
        if (figures.peakCPU < 0 || advice.isEmpty()) {
            return 1;
        }
        start = Clock::now();
        if (!PDFReportGenerator::writePdfFile(view, path, icons(), QDateTime::currentDateTime())) {
            std::fprintf(stderr, "could not write %s\n", qPrintable(path));
            return 1;
        }
        whole.push_back(millisecondsSince(start));
    }
    std::printf("report of %d records: aggregation median %.3f ms; whole PDF median %.1f ms "
                "(%d runs), %lld bytes; peak RSS %.1f MB (%.1f MB before the first report)\n",
                records, median(aggregation), median(whole), runs,
                static_cast<long long>(QFile(path).size()), peakResidentMB(), before);
    return 0;
}

} // namespace

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    const QString mode = argc > 1 ? QString::fromLocal8Bit(argv[1]) : u"report"_s;
    const auto number = [&](int index, int fallback) {
        return argc > index ? std::max(1, std::atoi(argv[index])) : fallback;
    };
    if (mode == u"logger") {
        return logger(number(2, 10000));
    }
    if (mode == u"sample" && argc > 3) {
        return PDFReportGenerator::writePdfFile(session(number(2, 3600)),
                                                QString::fromLocal8Bit(argv[3]), icons(),
                                                QDateTime::currentDateTime())
                   ? 0
                   : 1;
    }
    if (mode == u"report") {
        return report(number(2, 3600), number(3, 21));
    }
    std::fprintf(stderr, "usage: kv_bench_report logger [SAMPLES] | report RECORDS [RUNS] | "
                         "sample RECORDS PATH\n");
    return 2;
}
