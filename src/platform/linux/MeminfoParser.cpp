#include "MeminfoParser.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QtNumeric>

#include <initializer_list>
#include <limits>

namespace platform {

namespace {

constexpr quint64 kibibyte = 1024;

// Figures too large to be memory stop at the largest one rather than wrapping around to small
// ones.
quint64 saturated(std::initializer_list<quint64> parts)
{
    quint64 total = 0;
    for (const quint64 part : parts) {
        if (qAddOverflow(total, part, &total)) {
            return std::numeric_limits<quint64>::max();
        }
    }
    return total;
}

// "Name:   12345 kB" lines, keyed by name; a line of any other shape is skipped.
QHash<QByteArray, quint64> fields(QByteArrayView text)
{
    QHash<QByteArray, quint64> values;
    for (const QByteArray &line : QByteArray(text.data(), text.size()).split('\n')) {
        const qsizetype colon = line.indexOf(':');
        if (colon <= 0) {
            continue;
        }
        const QList<QByteArray> words = line.mid(colon + 1).simplified().split(' ');
        bool ok = false;
        const quint64 value = words.value(0).toULongLong(&ok);
        if (!ok) {
            continue;
        }
        const bool inKibibytes = words.size() > 1 && words.at(1) == "kB";
        quint64 bytes = value;
        if (inKibibytes && qMulOverflow(value, kibibyte, &bytes)) {
            bytes = std::numeric_limits<quint64>::max();
        }
        values.insert(line.left(colon), bytes);
    }
    return values;
}

} // namespace

MemoryCounters::Sample MeminfoParser::parse(QByteArrayView meminfo, quint64 zramBytes)
{
    const QHash<QByteArray, quint64> values = fields(meminfo);
    const auto field = [&values](const char *name) { return values.value(QByteArray(name)); };

    MemoryCounters::Sample sample;
    sample.totalBytes = field("MemTotal");
    sample.activeBytes = field("Active");
    // Memory that can neither be swapped nor reclaimed: locked pages and the kernel's own
    // unreclaimable allocations.
    sample.wiredBytes = saturated({field("Unevictable"), field("SUnreclaim"), field("KernelStack"),
                                   field("PageTables"), field("SecPageTables"), field("Percpu")});
    sample.compressedBytes = saturated({field("Zswap"), zramBytes});
    sample.freeBytes = field("MemFree");
    sample.inactiveBytes = field("Inactive");
    return sample;
}

quint64 MeminfoParser::zramUsedBytes(QByteArrayView mmStat)
{
    const QList<QByteArray> columns =
        QByteArray(mmStat.data(), mmStat.size()).simplified().split(' ');
    bool ok = false;
    const quint64 value = columns.value(2).toULongLong(&ok);
    return ok ? value : 0;
}

} // namespace platform
