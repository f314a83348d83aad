#pragma once

#include "platform/Clock.h"
#include "platform/ConnectionPath.h"
#include "platform/NetworkProbes.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <memory>

class SerialQueue;

/// The connection side of the network monitor: follows the path watcher (reachability, the
/// kind of link, its interface) and names a Wi-Fi link with the probes' name and standard.
/// The path watcher lives on the "NetworkMonitor.speed" queue, the Wi-Fi probes run on
/// "NetworkMonitor.ssid"; what they find is published on the main thread.
class ConnectionWatcher : public QObject {
    Q_OBJECT

public:
    /// probes must outlive the watcher; fallbackInterface names the interface the Wi-Fi
    /// probes ask about while the path has named none.
    ConnectionWatcher(platform::Clock &clock, std::unique_ptr<platform::ConnectionPath> path,
                      platform::NetworkProbes &probes, std::function<QString()> fallbackInterface,
                      QObject *parent = nullptr);
    ~ConnectionWatcher() override;

    [[nodiscard]] bool isConnected() const { return m_isConnected; }
    [[nodiscard]] QString connectionType() const { return m_connectionType; }
    [[nodiscard]] QString connectionName() const { return m_connectionName; }
    [[nodiscard]] QString wifiStandard() const { return m_wifiStandard; }
    [[nodiscard]] QString activeInterface() const { return m_activeInterface; }
    [[nodiscard]] QStringList queueLabels() const;

    /// Starts the path watcher on its queue; later calls do nothing.
    void start();
    /// Runs the Wi-Fi probes 2.0 s from now.
    void lazyFetchSSID();

Q_SIGNALS:
    void isConnectedChanged();
    void connectionTypeChanged();
    void connectionNameChanged();
    void wifiStandardChanged();
    void activeInterfaceChanged();
    /// The path named the interface that carries it (empty when there is none).
    void pathInterfaceChanged(const QString &name);

private:
    void applyPath(const platform::PathStatus &status);
    void fetchWiFiInfoAsync();
    void setConnectionName(const QString &value);
    void setWifiStandard(const QString &value);

    platform::Clock &m_clock;
    platform::ConnectionPath *m_path; ///< lives on, and is owned by, m_monitorQueue
    platform::NetworkProbes &m_probes;
    std::function<QString()> m_fallbackInterface;
    bool m_pathStarted = false;

    bool m_isConnected = true;
    QString m_connectionType = QStringLiteral("Unknown");
    QString m_connectionName = QStringLiteral("Not Connected");
    QString m_wifiStandard;
    QString m_activeInterface;
    QString m_wifiInterface; ///< the link the Wi-Fi probes ask about, from the last path

    // Declared last: destroyed first, so no queue still runs while the members above go.
    std::unique_ptr<SerialQueue> m_monitorQueue;
    std::unique_ptr<SerialQueue> m_ssidQueue;
};
