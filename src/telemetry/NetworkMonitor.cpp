#include "NetworkMonitor.h"

#include <QPointer>

Q_LOGGING_CATEGORY(lcNetworkMonitor, "kestrelvanta.networkmonitor", QtWarningMsg)

using namespace std::chrono_literals;

namespace {

constexpr auto sampleInterval = 1000ms;

} // namespace

NetworkMonitor::NetworkMonitor(QObject *parent)
    : NetworkMonitor(Parts{}, platform::Clock::system(), parent)
{
}

NetworkMonitor::NetworkMonitor(Parts parts, platform::Clock &clock, QObject *parent)
    : QObject(parent)
    , m_clock(clock)
    , m_probes(parts.probes ? std::move(parts.probes) : platform::NetworkProbes::create())
    , m_sampler(parts.counters ? std::move(parts.counters) : platform::NetworkCounters::create(),
                clock.now())
    , m_ping(
          std::make_unique<PingSampler>([probes = m_probes.get()] { return probes->pingOnce(); }))
    , m_connection(std::make_unique<ConnectionWatcher>(
          clock, parts.path ? std::move(parts.path) : platform::ConnectionPath::create(), *m_probes,
          [this] { return m_sampler.primaryInterface(); }))
    , m_http(std::make_unique<HttpProbes>(clock, std::move(parts.publicIpBase),
                                          std::move(parts.speedTestBase)))
{
    // The latency lands on a later turn of the event loop, as the sample's figures do.
    connect(
        m_ping.get(), &PingSampler::measured, this,
        [this](double milliseconds) {
            m_latency = milliseconds;
            Q_EMIT latencyChanged();
        },
        Qt::QueuedConnection);

    ConnectionWatcher *connection = m_connection.get();
    connect(connection, &ConnectionWatcher::isConnectedChanged, this,
            &NetworkMonitor::isConnectedChanged);
    connect(connection, &ConnectionWatcher::connectionTypeChanged, this,
            &NetworkMonitor::connectionTypeChanged);
    connect(connection, &ConnectionWatcher::connectionNameChanged, this,
            &NetworkMonitor::connectionNameChanged);
    connect(connection, &ConnectionWatcher::wifiStandardChanged, this,
            &NetworkMonitor::wifiStandardChanged);
    connect(connection, &ConnectionWatcher::activeInterfaceChanged, this,
            &NetworkMonitor::activeInterfaceChanged);
    // The path's interface counts until the next sample chooses one.
    connect(connection, &ConnectionWatcher::pathInterfaceChanged, this,
            [this](const QString &name) { m_sampler.setPrimaryInterface(name); });

    HttpProbes *http = m_http.get();
    connect(http, &HttpProbes::isRunningSpeedTestChanged, this,
            &NetworkMonitor::isRunningSpeedTestChanged);
    connect(http, &HttpProbes::speedTestDownloadMbpsChanged, this,
            &NetworkMonitor::speedTestDownloadMbpsChanged);
    connect(http, &HttpProbes::speedTestUploadMbpsChanged, this,
            &NetworkMonitor::speedTestUploadMbpsChanged);
    connect(http, &HttpProbes::speedTestProgressChanged, this,
            &NetworkMonitor::speedTestProgressChanged);
    connect(http, &HttpProbes::ispNameChanged, this, &NetworkMonitor::ispNameChanged);
    connect(http, &HttpProbes::cityChanged, this, &NetworkMonitor::cityChanged);
    connect(http, &HttpProbes::countryChanged, this, &NetworkMonitor::countryChanged);
    connect(http, &HttpProbes::publicIPChanged, this, &NetworkMonitor::publicIPChanged);
    connect(http, &HttpProbes::downloadSpeedMeasured, this, &NetworkMonitor::setDownloadSpeed);
}

NetworkMonitor::~NetworkMonitor() = default;

QVariant NetworkMonitor::latencyValue() const
{
    return m_latency ? QVariant(*m_latency) : QVariant();
}

QStringList NetworkMonitor::queueLabels() const
{
    return m_connection->queueLabels() << m_http->queueLabel();
}

void NetworkMonitor::startMonitoring()
{
    // 1. The path watcher, on its queue; it reports the current path first.
    m_connection->start();

    // 2. The baseline.
    m_sampler.takeBaseline(m_clock.now());

    // 3. The identity probes.
    m_connection->lazyFetchSSID();
    fetchISPInfo();

    // 4. One more repeating timer; the earlier ones are kept and keep firing.
    std::unique_ptr<platform::Timer> timer = m_clock.createTimer();
    const int stream = m_ping->addStream();
    connect(timer.get(), &platform::Timer::timeout, this, [this, stream] {
        QMetaObject::invokeMethod(
            this, [this, stream] { updateNetworkStatsAtomic(stream); }, Qt::QueuedConnection);
    });
    timer->start(sampleInterval);
    m_monitorTimers.push_back(std::move(timer));
}

void NetworkMonitor::fetchISPInfo()
{
    m_http->fetchISPInfo();
}

void NetworkMonitor::runSpeedTest()
{
    m_http->runSpeedTest();
}

std::pair<quint64, quint64> NetworkMonitor::getNetworkBytesFromPrimaryInterface()
{
    return m_sampler.read();
}

void NetworkMonitor::updateNetworkStatsAtomic(int stream)
{
    const ThroughputSampler::Sample sample = m_sampler.sample(m_clock.now());
    if (sample.kind == ThroughputSampler::Sample::Kind::NoTime) {
        return;
    }
    if (sample.kind == ThroughputSampler::Sample::Kind::NewBaseline) {
        // Nothing to publish this second, but the latency is still due.
        fetchLatencyAsync(stream);
        return;
    }
    const double rawDown = sample.rates.down;
    const double rawUp = sample.rates.up;
    const double smoothDown = applyMovingAverage(rawDown, m_downloadHistory, 3);
    const double smoothUp = applyMovingAverage(rawUp, m_uploadHistory, 3);

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

    fetchLatencyAsync(stream);
}

void NetworkMonitor::fetchLatencyAsync(int stream)
{
    m_ping->probe(stream);
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
