#include "ConnectionWatcher.h"

#include "SerialQueue.h"

#include <QCoro/QCoroTask>
#include <QPointer>

using namespace std::chrono_literals;

namespace {

constexpr auto ssidDelay = 2000ms;
constexpr auto standardDelay = 500ms;

} // namespace

ConnectionWatcher::ConnectionWatcher(platform::Clock &clock,
                                     std::unique_ptr<platform::ConnectionPath> path,
                                     platform::NetworkProbes &probes,
                                     std::function<QString()> fallbackInterface, QObject *parent)
    : QObject(parent)
    , m_clock(clock)
    , m_path(path.release())
    , m_probes(probes)
    , m_fallbackInterface(std::move(fallbackInterface))
    // The path monitor's queue is named ".speed"; the label is kept.
    , m_monitorQueue(std::make_unique<SerialQueue>(QStringLiteral("NetworkMonitor.speed"),
                                                   QThread::HighestPriority))
    , m_ssidQueue(std::make_unique<SerialQueue>(QStringLiteral("NetworkMonitor.ssid"),
                                                QThread::LowPriority))
{
    qRegisterMetaType<platform::PathStatus>();
    // Built, not started: the watcher moves to its queue and waits for start().
    m_path->setParent(nullptr);
    connect(m_path, &platform::ConnectionPath::pathUpdated, this, &ConnectionWatcher::applyPath,
            Qt::QueuedConnection);
    m_monitorQueue->adopt(m_path);
}

ConnectionWatcher::~ConnectionWatcher() = default;

QStringList ConnectionWatcher::queueLabels() const
{
    return {m_monitorQueue->label(), m_ssidQueue->label()};
}

void ConnectionWatcher::start()
{
    // It reports the current path first.
    if (m_pathStarted) {
        return;
    }
    m_pathStarted = true;
    QPointer<platform::ConnectionPath> path = m_path;
    m_monitorQueue->post([path] {
        if (path) {
            path->start();
        }
    });
}

void ConnectionWatcher::applyPath(const platform::PathStatus &status)
{
    const bool connected = status.satisfied;
    if (m_isConnected != connected) {
        m_isConnected = connected;
        Q_EMIT isConnectedChanged();
    }
    // For "en0" and "pdp_ip0", the default route's interface stands in here.
    QString type;
    bool assignActive = true;
    switch (status.medium) {
    case platform::PathStatus::Medium::WiFi:
        type = QStringLiteral("WiFi");
        break;
    case platform::PathStatus::Medium::Ethernet:
        type = QStringLiteral("Ethernet");
        break;
    case platform::PathStatus::Medium::Cellular:
        type = QStringLiteral("Cellular");
        break;
    case platform::PathStatus::Medium::Other:
        type = QStringLiteral("Unknown");
        assignActive = false;
        break;
    }
    if (m_connectionType != type) {
        m_connectionType = type;
        Q_EMIT connectionTypeChanged();
    }
    Q_EMIT pathInterfaceChanged(status.interfaceName);
    // Through a VPN the Wi-Fi name and standard are the carrying link's.
    m_wifiInterface = status.carrierName.isEmpty() ? status.interfaceName : status.carrierName;
    if (assignActive && m_activeInterface != status.interfaceName) {
        m_activeInterface = status.interfaceName;
        Q_EMIT activeInterfaceChanged();
    }
    lazyFetchSSID();
}

void ConnectionWatcher::lazyFetchSSID()
{
    m_clock.singleShot(*this, ssidDelay, [this] { fetchWiFiInfoAsync(); });
}

void ConnectionWatcher::fetchWiFiInfoAsync()
{
    if (m_connectionType != u"WiFi") {
        return;
    }
    const QString interfaceName = !m_wifiInterface.isEmpty()    ? m_wifiInterface
                                  : m_activeInterface.isEmpty() ? m_fallbackInterface()
                                                                : m_activeInterface;
    platform::NetworkProbes *probes = &m_probes;
    QPointer<ConnectionWatcher> self(this);

    m_ssidQueue->post([self, probes, interfaceName] {
        [](QPointer<ConnectionWatcher> self, platform::NetworkProbes *probes,
           QString interfaceName) -> QCoro::Task<> {
            const std::optional<QString> name = co_await probes->wifiName(interfaceName);
            if (!name) {
                co_return;
            }
            QMetaObject::invokeMethod(
                self.data(),
                [self, value = *name] {
                    if (self) {
                        self->setConnectionName(value);
                    }
                },
                Qt::QueuedConnection);
        }(self, probes, interfaceName);
    });

    // The standard probe follows half a second later; nothing waits for the pair to end.
    m_clock.singleShot(*this, standardDelay, [this, self, probes, interfaceName] {
        m_ssidQueue->post([self, probes, interfaceName] {
            [](QPointer<ConnectionWatcher> self, platform::NetworkProbes *probes,
               QString interfaceName) -> QCoro::Task<> {
                const std::optional<QString> standard =
                    co_await probes->wifiStandard(interfaceName);
                if (!standard || standard->isEmpty()) {
                    co_return;
                }
                QMetaObject::invokeMethod(
                    self.data(),
                    [self, value = *standard] {
                        if (self) {
                            self->setWifiStandard(value);
                        }
                    },
                    Qt::QueuedConnection);
            }(self, probes, interfaceName);
        });
    });
}

void ConnectionWatcher::setConnectionName(const QString &value)
{
    if (m_connectionName != value) {
        m_connectionName = value;
        Q_EMIT connectionNameChanged();
    }
}

void ConnectionWatcher::setWifiStandard(const QString &value)
{
    if (m_wifiStandard != value) {
        m_wifiStandard = value;
        Q_EMIT wifiStandardChanged();
    }
}
