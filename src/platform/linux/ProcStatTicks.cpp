#include "ProcStatTicks.h"

#include <QMap>

#include <array>
#include <charconv>
#include <limits>
#include <optional>

namespace platform {

namespace {

// The columns of a "cpuN" line, in the kernel's order.
enum Column { User, Nice, System, Idle, Iowait, Irq, Softirq, Steal, Guest, GuestNice, Columns };

std::optional<quint64> number(QByteArrayView text)
{
    quint64 value = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end) {
        return std::nullopt;
    }
    return value;
}

// a − b, or 0 where a counter the kernel reports as a part exceeds its whole.
quint64 without(quint64 a, quint64 b)
{
    return a > b ? a - b : 0;
}

std::optional<std::pair<int, ProcessorTicks::Counters>> parseLine(QByteArrayView line)
{
    // Most of the file is other lines, the longest of them one counter per interrupt: look no
    // further into a line whose first word is no processor's.
    qsizetype first = 0;
    while (first < line.size() && line[first] == ' ') {
        ++first;
    }
    if (!line.sliced(first).startsWith("cpu")) {
        return std::nullopt;
    }
    const QList<QByteArrayView> fields = [&] {
        QList<QByteArrayView> result;
        for (QByteArrayView rest = line; !rest.isEmpty();) {
            const qsizetype gap = rest.indexOf(' ');
            const QByteArrayView field = gap < 0 ? rest : rest.first(gap);
            if (!field.isEmpty()) {
                result.append(field);
            }
            rest = gap < 0 ? QByteArrayView() : rest.sliced(gap + 1);
        }
        return result;
    }();
    if (fields.size() < 1 + Iowait || !fields.first().startsWith("cpu")) {
        return std::nullopt;
    }
    const std::optional<quint64> cpu = number(fields.first().sliced(3));
    if (!cpu || *cpu > quint64(std::numeric_limits<int>::max())) {
        return std::nullopt;
    }
    std::array<quint64, Columns> column{};
    for (int i = 0; i < Columns && i + 1 < fields.size(); ++i) {
        const std::optional<quint64> value = number(fields.at(i + 1));
        if (!value) {
            if (i <= Idle) {
                return std::nullopt;
            }
            break;
        }
        column.at(i) = *value;
    }
    ProcessorTicks::Counters counters;
    counters.user = without(column[User], column[Guest]);
    counters.nice = without(column[Nice], column[GuestNice]);
    counters.system = column[System] + column[Irq] + column[Softirq];
    counters.idle = column[Idle] + column[Iowait];
    return std::pair{int(*cpu), counters};
}

} // namespace

std::unique_ptr<ProcessorTicks> ProcessorTicks::create()
{
    return std::make_unique<ProcStatTicks>(SystemRoots::current());
}

ProcStatTicks::ProcStatTicks(SystemRoots roots)
    : m_stat(roots.procRoot + u"/stat")
{
}

QList<ProcessorTicks::Counters> ProcStatTicks::sample()
{
    const std::optional<QByteArrayView> stat = m_stat.read();
    return stat ? parse(*stat) : QList<Counters>();
}

QList<ProcessorTicks::Counters> ProcStatTicks::parse(QByteArrayView stat)
{
    QMap<int, Counters> byProcessor;
    for (QByteArrayView rest = stat; !rest.isEmpty();) {
        const qsizetype end = rest.indexOf('\n');
        const QByteArrayView line = end < 0 ? rest : rest.first(end);
        rest = end < 0 ? QByteArrayView() : rest.sliced(end + 1);
        if (const auto parsed = parseLine(line); parsed && !byProcessor.contains(parsed->first)) {
            byProcessor.insert(parsed->first, parsed->second);
        }
    }
    return byProcessor.values();
}

} // namespace platform
