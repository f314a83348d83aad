#pragma once

#include <QByteArrayView>

#include <optional>

/// Reads a round-trip time out of the text a ping tool prints.
class PingOutput {
public:
    /// The number after the first "time=", in milliseconds. Only the six characters after
    /// "time=" are looked at ("time=1234.567 ms" reads as 1234.5); characters other than digits
    /// and "." are trimmed from both ends of them. Nothing when there is no such number.
    [[nodiscard]] static std::optional<double> firstRoundTripTime(QByteArrayView output);
};
