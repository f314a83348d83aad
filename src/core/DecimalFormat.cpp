#include "DecimalFormat.h"

#include <array>
#include <charconv>

QString DecimalFormat::fixed(double value, int decimals)
{
    std::array<char, 64> buffer{};
    const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                            std::chars_format::fixed, decimals);
    if (error != std::errc()) {
        return QString::number(value, 'f', decimals);
    }
    return QString::fromLatin1(buffer.data(), end - buffer.data());
}
