#pragma once

#include "platform/PerformanceHud.h"

#include <QDBusConnection>
#include <QStringList>

#include <optional>

namespace platform {

/// MangoHud for the user's later-started programs: an environment.d file that the session
/// reads at login, holding MANGOHUD=1 or MANGOHUD=0, and the same value given at once to the
/// user's service manager and to the session bus's activation environment, which the launchers
/// started through them pass on to games.
class EnvironmentdHud final : public PerformanceHud {
public:
    static inline const QString fileName = QStringLiteral("90-kestrelvanta-hud.conf");
    static constexpr qint64 maximumBytes = 64 * 1024;

    /// `layerRoots` are the folders whose vulkan/implicit_layer.d and vulkan/explicit_layer.d
    /// the Vulkan loader reads; `bus` is the session bus, when there is one.
    explicit EnvironmentdHud(QString configHome, QStringList layerRoots = {},
                             std::optional<QDBusConnection> bus = std::nullopt);

    std::optional<QString> storedValue() override;
    bool write(bool enable) override;
    QString unavailableReason() override;

    [[nodiscard]] QString filePath() const;
    /// The value of the last MANGOHUD assignment in the file's text.
    [[nodiscard]] static std::optional<QString> valueIn(const QByteArray &content);
    /// The Vulkan loader's layer folders for this session's configuration and data folders.
    [[nodiscard]] static QStringList layerRootsFor(const QString &configHome,
                                                   const QStringList &configDirs,
                                                   const QString &dataHome,
                                                   const QStringList &dataDirs);

private:
    void tellSession(const QString &value);

    QString m_configHome;
    QStringList m_layerRoots;
    std::optional<QDBusConnection> m_bus;
};

} // namespace platform
