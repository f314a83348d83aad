#include "TelemetryFormat.h"

#include <array>
#include <charconv>

namespace {

// printf's "%.Nf" without its dependence on the C library's locale: correctly rounded, exact
// halves to even, "nan" and "inf" spelled as printf spells them.
QString fixed(double value, int decimals)
{
    std::array<char, 64> buffer{};
    const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                            std::chars_format::fixed, decimals);
    if (error != std::errc()) {
        return QString::number(value, 'f', decimals);
    }
    return QString::fromLatin1(buffer.data(), end - buffer.data());
}

} // namespace

QString TelemetryFormat::gigabytes(double value)
{
    return fixed(value, 1) + u" GB";
}

QString TelemetryFormat::wholeGigabytes(double value)
{
    return fixed(value, 0) + u" GB";
}

QString TelemetryFormat::wholePercent(double value)
{
    return fixed(value, 0) + u'%';
}
