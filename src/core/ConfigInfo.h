#pragma once

#include <QByteArray>
#include <QStringView>

#include <optional>

/// The configuration record "config.json": has the first run been completed, and when.
struct ConfigInfo {
    static constexpr QStringView fileName = u"config.json";

    bool firstRunComplete = false;
    /// Seconds since 1970-01-01 00:00 UTC, with fractional seconds.
    double installDate = 0;

    /// Both keys are required and must have their JSON types; other keys are ignored.
    [[nodiscard]] static std::optional<ConfigInfo> decode(const QByteArray &json);
    /// One compact JSON object on one line, without a trailing newline.
    [[nodiscard]] QByteArray encode() const;

    friend bool operator==(const ConfigInfo &, const ConfigInfo &) = default;
};
