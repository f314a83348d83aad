#pragma once

#include <QObject>
#include <QString>

/// The two preferences of the settings screen, saved to "settings.json" on every assignment.
/// They are stored and shown, and drive nothing else. Main thread only.
class SettingsStore : public QObject {
    Q_OBJECT

    /// The "Launch at Login" switch.
    Q_PROPERTY(bool launchOnStartup READ launchOnStartup WRITE setLaunchOnStartup NOTIFY
                   launchOnStartupChanged)
    /// The "Auto-Optimize" switch.
    Q_PROPERTY(bool autoOptimize READ autoOptimize WRITE setAutoOptimize NOTIFY autoOptimizeChanged)

public:
    /// Loads from the application folder.
    explicit SettingsStore(QObject *parent = nullptr);
    /// Loads "settings.json" from the folder; a missing or malformed file leaves both false and is
    /// not rewritten until a setting changes.
    explicit SettingsStore(QString appFolder, QObject *parent = nullptr);

    [[nodiscard]] bool launchOnStartup() const { return m_launchOnStartup; }
    void setLaunchOnStartup(bool value);
    [[nodiscard]] bool autoOptimize() const { return m_autoOptimize; }
    void setAutoOptimize(bool value);

Q_SIGNALS:
    void launchOnStartupChanged();
    void autoOptimizeChanged();

private:
    void save() const;

    QString m_appFolder;
    bool m_launchOnStartup = false;
    bool m_autoOptimize = false;
};
