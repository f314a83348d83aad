#pragma once

#include <QByteArray>
#include <QStringView>

#include <optional>

/// The settings record "settings.json": the two preferences of the settings screen.
struct AppSettings {
    static constexpr QStringView fileName = u"settings.json";

    bool launchOnStartup = false;
    bool autoOptimize = false;

    /// Both keys are required and must be booleans; other keys are ignored.
    [[nodiscard]] static std::optional<AppSettings> decode(const QByteArray &json);
    /// One compact JSON object on one line, without a trailing newline.
    [[nodiscard]] QByteArray encode() const;

    friend bool operator==(const AppSettings &, const AppSettings &) = default;
};
