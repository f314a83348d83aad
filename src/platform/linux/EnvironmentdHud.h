#pragma once

#include "platform/PerformanceHud.h"

namespace platform {

/// MangoHud for the user's later-started programs: an environment.d file that the session
/// reads at login, holding MANGOHUD=1 or MANGOHUD=0.
class EnvironmentdHud final : public PerformanceHud {
public:
    static inline const QString fileName = QStringLiteral("90-kestrelvanta-hud.conf");
    static constexpr qint64 maximumBytes = 64 * 1024;

    explicit EnvironmentdHud(QString configHome);

    std::optional<QString> storedValue() override;
    bool write(bool enable) override;

    [[nodiscard]] QString filePath() const;
    /// The value of the last MANGOHUD assignment in the file's text.
    [[nodiscard]] static std::optional<QString> valueIn(const QByteArray &content);

private:
    QString m_configHome;
};

} // namespace platform
