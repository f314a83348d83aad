#include "MeminfoParser.h"

#include <QtNumeric>

#include <algorithm>
#include <array>
#include <charconv>
#include <initializer_list>
#include <limits>
#include <optional>

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

bool isSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

// The next whitespace-separated word of `text` from `at` on, which is moved past it; empty at
// the end.
QByteArrayView nextWord(QByteArrayView text, qsizetype &at)
{
    while (at < text.size() && isSpace(text[at])) {
        ++at;
    }
    const qsizetype start = at;
    while (at < text.size() && !isSpace(text[at])) {
        ++at;
    }
    return text.sliced(start, at - start);
}

// A decimal number, as Qt reads one: an optional '+', digits, and nothing after them but the end
// of a C string.
std::optional<quint64> decimal(QByteArrayView word)
{
    if (const qsizetype nul = word.indexOf('\0'); nul >= 0) {
        word = word.first(nul);
    }
    if (word.startsWith('+')) {
        word = word.sliced(1);
    }
    quint64 value = 0;
    const char *end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, value);
    if (word.isEmpty() || error != std::errc() || stop != end) {
        return std::nullopt;
    }
    return value;
}

// The figures a sample is made of, each from its "Name:   12345 kB" line.
enum Field {
    MemTotal,
    Active,
    Unevictable,
    SUnreclaim,
    KernelStack,
    PageTables,
    SecPageTables,
    Percpu,
    Zswap,
    MemFree,
    Inactive,
    FieldCount
};
constexpr std::array<QByteArrayView, FieldCount> fieldNames{
    "MemTotal",      "Active", "Unevictable", "SUnreclaim", "KernelStack", "PageTables",
    "SecPageTables", "Percpu", "Zswap",       "MemFree",    "Inactive"};

// One pass over the text, without copying it: the value of each wanted field, in bytes (the last
// line wins when a name repeats); a line of any other shape is skipped.
std::array<quint64, FieldCount> fields(QByteArrayView text)
{
    std::array<quint64, FieldCount> values{};
    for (qsizetype start = 0; start <= text.size();) {
        qsizetype end = text.indexOf('\n', start);
        if (end < 0) {
            end = text.size();
        }
        const QByteArrayView line = text.sliced(start, end - start);
        start = end + 1;
        const qsizetype colon = line.indexOf(':');
        if (colon <= 0) {
            continue;
        }
        const QByteArrayView name = line.first(colon);
        const auto known = std::find(fieldNames.cbegin(), fieldNames.cend(), name);
        if (known == fieldNames.cend()) {
            continue;
        }
        qsizetype at = colon + 1;
        const std::optional<quint64> value = decimal(nextWord(line, at));
        if (!value) {
            continue;
        }
        const bool inKibibytes = nextWord(line, at) == "kB";
        quint64 bytes = *value;
        if (inKibibytes && qMulOverflow(*value, kibibyte, &bytes)) {
            bytes = std::numeric_limits<quint64>::max();
        }
        values.at(std::size_t(known - fieldNames.cbegin())) = bytes;
    }
    return values;
}

} // namespace

MemoryCounters::Sample MeminfoParser::parse(QByteArrayView meminfo, quint64 zramBytes)
{
    const std::array<quint64, FieldCount> values = fields(meminfo);
    const auto field = [&values](Field name) { return values.at(name); };

    MemoryCounters::Sample sample;
    sample.totalBytes = field(MemTotal);
    sample.activeBytes = field(Active);
    // Memory that can neither be swapped nor reclaimed: locked pages and the kernel's own
    // unreclaimable allocations.
    sample.wiredBytes = saturated({field(Unevictable), field(SUnreclaim), field(KernelStack),
                                   field(PageTables), field(SecPageTables), field(Percpu)});
    sample.compressedBytes = saturated({field(Zswap), zramBytes});
    sample.freeBytes = field(MemFree);
    sample.inactiveBytes = field(Inactive);
    return sample;
}

quint64 MeminfoParser::zramUsedBytes(QByteArrayView mmStat)
{
    qsizetype at = 0;
    QByteArrayView column;
    for (int i = 0; i <= 2; ++i) {
        column = nextWord(mmStat, at);
    }
    return decimal(column).value_or(0);
}

} // namespace platform
