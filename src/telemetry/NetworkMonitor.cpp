#include "NetworkMonitor.h"

#include "PingOutput.h"
#include "SerialQueue.h"
#include "platform/NetworkProbes.h"

#include <QCoro/QCoroTask>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPointer>
#include <QStringDecoder>

#include <algorithm>
#include <cmath>

Q_LOGGING_CATEGORY(lcNetworkMonitor, "kestrelvanta.networkmonitor", QtWarningMsg)

using namespace std::chrono_literals;

namespace {

constexpr auto sampleInterval = 1000ms;
constexpr auto ssidDelay = 2000ms;
constexpr auto standardDelay = 500ms;
constexpr auto progressStep = 100ms;
constexpr auto finishDelay = 1000ms;
constexpr auto speedTestTimeout = 30s;
/// How often the speed test's worker tells the main thread that bytes are still arriving.
constexpr qint64 activityReportMs = 250;

/// Errors after which a reply carries no usable body: no connection, a dropped or cancelled one,
/// a proxy failure, a broken response. HTTP error statuses still have a body, as URLSession has.
bool transportFailed(const QNetworkReply *reply)
{
    const int error = reply->error();
    if (error == QNetworkReply::NoError) {
        return false;
    }
    const bool contentError = error >= 201 && error <= 299;
    const bool serverError = error >= 401 && error <= 499;
    return !(contentError || serverError);
}

/// A body that ended before its announced length is a dropped connection, which Qt 6.4 does not
/// always report as an error.
bool cutShort(const QNetworkReply *reply, qint64 received)
{
    const QVariant length = reply->header(QNetworkRequest::ContentLengthHeader);
    return length.isValid() && received < length.toLongLong();
}

/// Reads and discards what has arrived; returns the count.
qint64 drain(QNetworkReply *reply)
{
    return reply->isOpen() ? reply->skip(reply->bytesAvailable()) : 0;
}

QString stringMember(const QJsonObject &object, QLatin1StringView key)
{
    const QJsonValue value = object.value(key);
    return value.isString() ? value.toString() : QString();
}

} // namespace

/// The speed-test queue's side: the network access manager and the request in flight. Touched
/// only on that queue.
struct NetworkMonitor::SpeedTestWork : QObject {
    QNetworkAccessManager *manager = nullptr;
    QPointer<QNetworkReply> speedReply;
    quint64 speedTest = 0;

    QNetworkAccessManager *network()
    {
        if (!manager) {
            manager = new QNetworkAccessManager(this);
            manager->setAutoDeleteReplies(true);
            manager->setRedirectPolicy(QNetworkRequest::NoLessSafeRedirectPolicy);
        }
        return manager;
    }
};

NetworkMonitor::NetworkMonitor(QObject *parent)
    : NetworkMonitor(Parts{}, platform::Clock::system(), parent)
{
}

NetworkMonitor::NetworkMonitor(Parts parts, platform::Clock &clock, QObject *parent)
    : QObject(parent)
    , m_clock(clock)
    , m_counters(parts.counters ? std::move(parts.counters) : platform::NetworkCounters::create())
    , m_path(parts.path ? parts.path.release() : platform::ConnectionPath::create().release())
    , m_probes(parts.probes ? std::move(parts.probes) : platform::NetworkProbes::create())
    , m_publicIpBase(std::move(parts.publicIpBase))
    , m_speedTestBase(std::move(parts.speedTestBase))
    , m_lastCheckTime(clock.now())
    // The path monitor's queue is named ".speed"; the label is kept.
    , m_monitorQueue(std::make_unique<SerialQueue>(QStringLiteral("NetworkMonitor.speed"),
                                                   QThread::HighestPriority))
    , m_ssidQueue(std::make_unique<SerialQueue>(QStringLiteral("NetworkMonitor.ssid"),
                                                QThread::LowPriority))
    , m_speedTestQueue(std::make_unique<SerialQueue>(QStringLiteral("NetworkMonitor.speedtest"),
                                                     QThread::HighPriority))
{
    qRegisterMetaType<platform::PathStatus>();
    // Built, not started: the watcher moves to its queue and waits for startMonitoring().
    m_path->setParent(nullptr);
    connect(m_path, &platform::ConnectionPath::pathUpdated, this, &NetworkMonitor::applyPath,
            Qt::QueuedConnection);
    m_monitorQueue->adopt(m_path);
    m_speedWork = new SpeedTestWork;
    m_speedTestQueue->adopt(m_speedWork);
}

NetworkMonitor::~NetworkMonitor() = default;

QVariant NetworkMonitor::latencyValue() const
{
    return m_latency ? QVariant(*m_latency) : QVariant();
}

QStringList NetworkMonitor::queueLabels() const
{
    return {m_monitorQueue->label(), m_ssidQueue->label(), m_speedTestQueue->label()};
}

// Sampling

void NetworkMonitor::startMonitoring()
{
    // 1. The path watcher, on its queue; it reports the current path first.
    if (!m_pathStarted) {
        m_pathStarted = true;
        QPointer<platform::ConnectionPath> path = m_path;
        m_monitorQueue->post([path] {
            if (path) {
                path->start();
            }
        });
    }

    // 2. The baseline.
    const auto [received, sent] = getNetworkBytesFromPrimaryInterface();
    m_lastBytesReceived = received;
    m_lastBytesSent = sent;
    m_lastCheckTime = m_clock.now();
    qCInfo(lcNetworkMonitor, "Initial baseline: received=%llu, sent=%llu", received, sent);

    // 3. The identity probes.
    lazyFetchSSID();
    fetchISPInfo();

    // 4. One more repeating timer; the earlier ones are kept and keep firing.
    std::unique_ptr<platform::Timer> timer = m_clock.createTimer();
    connect(timer.get(), &platform::Timer::timeout, this, [this] {
        QMetaObject::invokeMethod(
            this, [this] { updateNetworkStatsAtomic(); }, Qt::QueuedConnection);
    });
    timer->start(sampleInterval);
    m_monitorTimers.push_back(std::move(timer));
}

void NetworkMonitor::updateNetworkStatsAtomic()
{
    const auto [received, sent] = getNetworkBytesFromPrimaryInterface();
    const QDateTime now = m_clock.now();
    const double dt = double(m_lastCheckTime.msecsTo(now)) / 1000.0;
    if (dt <= 0) {
        return;
    }

    quint64 receivedDiff = received - m_lastBytesReceived;
    if (received < m_lastBytesReceived) {
        qCWarning(lcNetworkMonitor, "Counter wraparound or reset detected for received");
        receivedDiff = received;
    }
    quint64 sentDiff = sent - m_lastBytesSent;
    if (sent < m_lastBytesSent) {
        qCWarning(lcNetworkMonitor, "Counter wraparound or reset detected for sent");
        sentDiff = sent;
    }

    const double rawDown = double(receivedDiff) / dt;
    const double rawUp = double(sentDiff) / dt;
    const double smoothDown = applyMovingAverage(rawDown, m_downloadHistory, 3);
    const double smoothUp = applyMovingAverage(rawUp, m_uploadHistory, 3);

    m_lastBytesReceived = received;
    m_lastBytesSent = sent;
    m_lastCheckTime = now;
    ++m_sampleCount;
    qCDebug(lcNetworkMonitor, "Sample #%d: diff=[%llu, %llu], speed=[%f, %f]", m_sampleCount,
            receivedDiff, sentDiff, rawDown, rawUp);

    QMetaObject::invokeMethod(
        this,
        [this, smoothDown, smoothUp, rawDown, rawUp] {
            setDownloadSpeed(smoothDown);
            setUploadSpeed(smoothUp);
            m_downloadHistory.append(rawDown);
            m_uploadHistory.append(rawUp);
            if (m_downloadHistory.size() >= maxHistory + 1) {
                m_downloadHistory.removeFirst();
            }
            if (m_uploadHistory.size() >= maxHistory + 1) {
                m_uploadHistory.removeFirst();
            }
            Q_EMIT downloadHistoryChanged();
            Q_EMIT uploadHistoryChanged();
        },
        Qt::QueuedConnection);

    fetchLatencyAsync();
}

double NetworkMonitor::applyMovingAverage(double current, const QList<double> &history, int samples)
{
    if (history.isEmpty()) {
        return current;
    }
    const qsizetype k = std::min<qsizetype>(samples, history.size());
    double sum = current;
    for (qsizetype i = history.size() - k; i < history.size(); ++i) {
        sum += history[i];
    }
    return sum / double(k + 1);
}

std::pair<quint64, quint64> NetworkMonitor::getNetworkBytesFromPrimaryInterface()
{
    m_debugInterfaceData.clear();
    const platform::NetworkCounters::LinkList links = m_counters->links();
    if (!links.ok) {
        qCWarning(lcNetworkMonitor, "Netlink %s failed: errno=%d", qPrintable(links.failedStep),
                  links.error);
        return fallbackGetNetworkBytes();
    }
    for (const platform::InterfaceBytes &link : links.interfaces) {
        qCDebug(lcNetworkMonitor, "Interface %s: received=%llu, sent=%llu", qPrintable(link.name),
                link.received, link.sent);
    }
    m_debugInterfaceData = links.interfaces;

    const std::optional<platform::InterfaceBytes> primary =
        findPrimaryInterface(links.interfaces, m_counters->defaultRouteInterface());
    if (!primary) {
        return {0, 0};
    }
    m_primaryInterface = primary->name;
    qCInfo(lcNetworkMonitor, "Primary interface: %s, bytes=[%llu, %llu]", qPrintable(primary->name),
           primary->received, primary->sent);
    return {primary->received, primary->sent};
}

std::pair<quint64, quint64> NetworkMonitor::fallbackGetNetworkBytes()
{
    qCWarning(lcNetworkMonitor, "Falling back to getifaddrs");
    const platform::NetworkCounters::Totals totals = m_counters->fallbackTotals();
    if (!totals.ok) {
        qCWarning(lcNetworkMonitor, "getifaddrs failed");
        return {0, 0};
    }
    qCInfo(lcNetworkMonitor,
           "Fallback getifaddrs result: totalReceived=%llu, totalSent=%llu, hasValidData=%s",
           totals.received, totals.sent, totals.hasValidData ? "true" : "false");
    return {totals.received, totals.sent};
}

std::optional<platform::InterfaceBytes>
NetworkMonitor::findPrimaryInterface(const QList<platform::InterfaceBytes> &interfaces,
                                     const QString &defaultRouteInterface)
{
    const auto hasTraffic = [](const platform::InterfaceBytes &entry) {
        return entry.received != 0 || entry.sent != 0;
    };
    if (!defaultRouteInterface.isEmpty()) {
        for (const platform::InterfaceBytes &entry : interfaces) {
            if (entry.name == defaultRouteInterface && hasTraffic(entry)) {
                return entry;
            }
        }
    }
    for (const char16_t *preferred : {u"en0", u"en1", u"en2", u"en3", u"en4", u"en5"}) {
        for (const platform::InterfaceBytes &entry : interfaces) {
            if (entry.name == QStringView(preferred) && hasTraffic(entry)) {
                return entry;
            }
        }
    }
    if (interfaces.isEmpty()) {
        return std::nullopt;
    }
    const platform::InterfaceBytes *best = &interfaces.first();
    for (const platform::InterfaceBytes &entry : interfaces) {
        // Strictly greater: on equal totals the earliest entry stays.
        if (entry.received + entry.sent > best->received + best->sent) {
            best = &entry;
        }
    }
    return *best;
}

void NetworkMonitor::fetchLatencyAsync()
{
    [](QPointer<NetworkMonitor> self, platform::NetworkProbes *probes) -> QCoro::Task<> {
        const std::optional<QByteArray> output = co_await probes->pingOnce();
        if (!self || !output) {
            co_return;
        }
        const std::optional<double> time = PingOutput::firstRoundTripTime(*output);
        if (!time) {
            co_return;
        }
        QMetaObject::invokeMethod(
            self.data(),
            [self, value = *time] {
                if (self) {
                    self->m_latency = value;
                    Q_EMIT self->latencyChanged();
                }
            },
            Qt::QueuedConnection);
    }(this, m_probes.get());
}

// Connection path

void NetworkMonitor::applyPath(const platform::PathStatus &status)
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
    m_primaryInterface = status.interfaceName;
    if (assignActive && m_activeInterface != status.interfaceName) {
        m_activeInterface = status.interfaceName;
        Q_EMIT activeInterfaceChanged();
    }
    lazyFetchSSID();
}

// Identity probes

void NetworkMonitor::after(std::chrono::milliseconds delay, std::function<void()> action)
{
    platform::Timer *timer = m_clock.createTimer().release();
    timer->setParent(this);
    timer->setSingleShot(true);
    connect(timer, &platform::Timer::timeout, this, [timer, action = std::move(action)] {
        timer->deleteLater();
        action();
    });
    timer->start(delay);
}

void NetworkMonitor::lazyFetchSSID()
{
    after(ssidDelay, [this] { fetchWiFiInfoAsync(); });
}

void NetworkMonitor::fetchWiFiInfoAsync()
{
    if (m_connectionType != u"WiFi") {
        return;
    }
    const QString interfaceName =
        m_activeInterface.isEmpty() ? m_primaryInterface : m_activeInterface;
    platform::NetworkProbes *probes = m_probes.get();
    QPointer<NetworkMonitor> self(this);

    m_ssidQueue->post([self, probes, interfaceName] {
        [](QPointer<NetworkMonitor> self, platform::NetworkProbes *probes,
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
    after(standardDelay, [this, self, probes, interfaceName] {
        m_ssidQueue->post([self, probes, interfaceName] {
            [](QPointer<NetworkMonitor> self, platform::NetworkProbes *probes,
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

void NetworkMonitor::fetchISPInfo()
{
    // Fetched once per run, after the first success; an empty name means "try again".
    if (!m_ispName.isEmpty()) {
        return;
    }
    QUrl url = m_publicIpBase;
    url.setPath(QStringLiteral("/json/"));
    url.setQuery(QString());
    if (!url.isValid() || url.scheme().isEmpty()) {
        return;
    }
    SpeedTestWork *work = m_speedWork;
    m_speedTestQueue->post([this, work, url] {
        QNetworkReply *reply = work->network()->get(QNetworkRequest(url));
        auto body = std::make_shared<QByteArray>();
        auto oversized = std::make_shared<bool>(false);
        connect(reply, &QNetworkReply::readyRead, reply, [reply, body, oversized] {
            if (*oversized) {
                return;
            }
            if (!reply->isOpen()) {
                return;
            }
            body->append(reply->read(maximumRecordBytes + 1 - body->size()));
            if (body->size() > maximumRecordBytes) {
                *oversized = true;
                body->clear();
                reply->abort();
            }
        });
        connect(reply, &QNetworkReply::finished, reply, [this, reply, body, oversized] {
            if (*oversized || transportFailed(reply) || !reply->isOpen()) {
                return;
            }
            body->append(reply->read(maximumRecordBytes + 1 - body->size()));
            if (cutShort(reply, body->size())) {
                return;
            }
            if (body->isEmpty() || body->size() > maximumRecordBytes) {
                return;
            }
            const std::optional<IspRecord> record = parseIspRecord(*body);
            if (!record) {
                return;
            }
            QMetaObject::invokeMethod(
                this,
                [this, record = *record] {
                    const auto assign = [this](QString &field, const QString &value,
                                               void (NetworkMonitor::*changed)()) {
                        if (field != value) {
                            field = value;
                            Q_EMIT(this->*changed)();
                        }
                    };
                    assign(m_ispName, record.ispName, &NetworkMonitor::ispNameChanged);
                    assign(m_city, record.city, &NetworkMonitor::cityChanged);
                    assign(m_country, record.country, &NetworkMonitor::countryChanged);
                    assign(m_publicIP, record.publicIP, &NetworkMonitor::publicIPChanged);
                },
                Qt::QueuedConnection);
        });
    });
}

std::optional<NetworkMonitor::IspRecord> NetworkMonitor::parseIspRecord(const QByteArray &body)
{
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        return std::nullopt;
    }
    const QJsonObject object = document.object();
    const QString org = stringMember(object, QLatin1StringView("org"));
    IspRecord record;
    record.ispName = org.split(u' ').first();
    record.city = stringMember(object, QLatin1StringView("city"));
    record.country = stringMember(object, QLatin1StringView("country_name"));
    record.publicIP = stringMember(object, QLatin1StringView("ip"));
    return record;
}

// Speed test

void NetworkMonitor::runSpeedTest()
{
    if (m_isRunningSpeedTest) {
        return;
    }
    setIsRunningSpeedTest(true);
    setSpeedTestProgress(0);
    setSpeedTestDownloadMbps(0);
    if (m_speedTestUploadMbps != 0) {
        m_speedTestUploadMbps = 0;
        Q_EMIT speedTestUploadMbpsChanged();
    }
    const quint64 test = ++m_speedTest;
    m_speedTestQueue->post([this, test] { performSpeedTest(test); });
}

void NetworkMonitor::performSpeedTest(quint64 test)
{
    // On the speed-test queue.
    QUrl url = m_speedTestBase;
    url.setPath(QStringLiteral("/__down"));
    url.setQuery(QStringLiteral("bytes=%1").arg(speedTestBytes));
    if (!url.isValid() || url.scheme().isEmpty()) {
        QMetaObject::invokeMethod(
            this, [this] { finishSpeedTest(); }, Qt::QueuedConnection);
        return;
    }
    QNetworkRequest request(url);
    // Nothing cached: the bytes must cross the network.
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute,
                         QNetworkRequest::AlwaysNetwork);

    SpeedTestWork *work = m_speedWork;
    auto clock = std::make_shared<QElapsedTimer>();
    auto sinceReport = std::make_shared<QElapsedTimer>();
    auto bytes = std::make_shared<qint64>(0);
    clock->start();
    sinceReport->start();
    QNetworkReply *reply = work->network()->get(request);
    work->speedReply = reply;
    work->speedTest = test;
    connect(reply, &QNetworkReply::readyRead, reply, [this, reply, bytes, sinceReport, test] {
        // Counted, not kept: ten megabytes need not sit in memory.
        *bytes += drain(reply);
        if (sinceReport->elapsed() >= activityReportMs) {
            sinceReport->restart();
            QMetaObject::invokeMethod(
                this, [this, test] { speedTestActivity(test); }, Qt::QueuedConnection);
        }
    });
    connect(reply, &QNetworkReply::finished, reply, [this, reply, bytes, clock, test] {
        *bytes += drain(reply);
        const double seconds = double(clock->nsecsElapsed()) / 1e9;
        const bool succeeded = !transportFailed(reply) && !cutShort(reply, *bytes);
        QMetaObject::invokeMethod(
            this,
            [this, test, received = *bytes, seconds, succeeded] {
                speedTestCompleted(test, received, seconds, succeeded);
            },
            Qt::QueuedConnection);
    });
    QMetaObject::invokeMethod(
        this, [this, test] { speedTestStarted(test); }, Qt::QueuedConnection);
}

void NetworkMonitor::speedTestStarted(quint64 test)
{
    if (test != m_speedTest) {
        return;
    }
    setSpeedTestProgress(0.3);
    for (int i = 1; i <= 6; ++i) {
        after(progressStep * i, [this, i] {
            if (m_speedTestProgress < 0.9) {
                setSpeedTestProgress(0.3 + i * 0.1);
            }
        });
    }
    speedTestActivity(test);
}

void NetworkMonitor::speedTestActivity(quint64 test)
{
    // The request gives up after 30 s without data, like a URL request's time-out interval.
    if (test != m_speedTest || !m_isRunningSpeedTest) {
        return;
    }
    if (!m_speedTestTimeout) {
        m_speedTestTimeout = m_clock.createTimer();
        m_speedTestTimeout->setSingleShot(true);
        connect(m_speedTestTimeout.get(), &platform::Timer::timeout, this, [this] {
            SpeedTestWork *work = m_speedWork;
            const quint64 expired = m_speedTest;
            m_speedTestQueue->post([work, expired] {
                if (work->speedReply && work->speedTest == expired) {
                    work->speedReply->abort();
                }
            });
        });
    }
    m_speedTestTimeout->start(speedTestTimeout);
}

void NetworkMonitor::speedTestCompleted(quint64 test, qint64 bytes, double seconds, bool succeeded)
{
    if (test != m_speedTest) {
        return;
    }
    if (m_speedTestTimeout) {
        m_speedTestTimeout->stop();
    }
    if (succeeded) {
        if (const auto result = speedTestResult(bytes, seconds)) {
            setSpeedTestDownloadMbps(result->first);
            setSpeedTestProgress(1.0);
            setDownloadSpeed(result->second);
            qCInfo(lcNetworkMonitor, "Speed test result: %f Mbps", result->first);
        }
    }
    after(finishDelay, [this] { finishSpeedTest(); });
}

std::optional<std::pair<double, double>> NetworkMonitor::speedTestResult(qint64 bytes,
                                                                         double seconds)
{
    if (bytes <= 0 || !(seconds > 0)) {
        return std::nullopt;
    }
    const double mbps = double(bytes) * 8.0 / seconds / 1'000'000.0;
    return std::pair{mbps, double(bytes) / seconds};
}

void NetworkMonitor::finishSpeedTest()
{
    setIsRunningSpeedTest(false);
    if (m_speedTestDownloadMbps > 0) {
        setDownloadSpeed(m_speedTestDownloadMbps * 125'000.0);
    }
}

// Formatting

QString NetworkMonitor::formatSpeed(double bytesPerSecond)
{
    const double mb = bytesPerSecond / 1'048'576.0;
    if (mb >= 1) {
        return QString::asprintf("%.1f MB/s", mb);
    }
    const double kb = bytesPerSecond / 1024.0;
    if (kb >= 1) {
        return QString::asprintf("%.1f KB/s", kb);
    }
    return QString::asprintf("%.0f B/s", bytesPerSecond);
}

QString NetworkMonitor::formatMbps(double megabitsPerSecond)
{
    if (megabitsPerSecond >= 1000) {
        return QString::asprintf("%.0f Gbps", megabitsPerSecond / 1000.0);
    }
    if (megabitsPerSecond >= 1) {
        return QString::asprintf("%.1f Mbps", megabitsPerSecond);
    }
    return QString::asprintf("%.0f Kbps", megabitsPerSecond * 1000.0);
}

// Setters

void NetworkMonitor::setDownloadSpeed(double value)
{
    m_downloadSpeed = value;
    Q_EMIT downloadSpeedChanged();
}

void NetworkMonitor::setUploadSpeed(double value)
{
    m_uploadSpeed = value;
    Q_EMIT uploadSpeedChanged();
}

void NetworkMonitor::setConnectionName(const QString &value)
{
    if (m_connectionName != value) {
        m_connectionName = value;
        Q_EMIT connectionNameChanged();
    }
}

void NetworkMonitor::setWifiStandard(const QString &value)
{
    if (m_wifiStandard != value) {
        m_wifiStandard = value;
        Q_EMIT wifiStandardChanged();
    }
}

void NetworkMonitor::setSpeedTestProgress(double value)
{
    if (m_speedTestProgress != value) {
        m_speedTestProgress = value;
        Q_EMIT speedTestProgressChanged();
    }
}

void NetworkMonitor::setSpeedTestDownloadMbps(double value)
{
    if (m_speedTestDownloadMbps != value) {
        m_speedTestDownloadMbps = value;
        Q_EMIT speedTestDownloadMbpsChanged();
    }
}

void NetworkMonitor::setIsRunningSpeedTest(bool value)
{
    if (m_isRunningSpeedTest != value) {
        m_isRunningSpeedTest = value;
        Q_EMIT isRunningSpeedTestChanged();
    }
}
