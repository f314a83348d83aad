#pragma once

#include <QByteArray>

#include <optional>

/// The summary line a ping tool prints after several echo requests.
class PingSummary {
public:
    /// The average round-trip time in milliseconds from "round-trip min/avg/max/stddev = …" or
    /// iputils' "rtt min/avg/max/mdev = …" (first match); nothing when the text is not UTF-8,
    /// has no such line, or its average is not a number.
    [[nodiscard]] static std::optional<double> averageMilliseconds(const QByteArray &output);
};
