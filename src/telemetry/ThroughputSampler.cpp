#include "ThroughputSampler.h"

#include "NetworkMonitor.h"

#include <algorithm>

namespace {

// Sources that are not an interface name; a name never contains "/".
const QString fallbackSource = QStringLiteral("/all");
const QString noSource = QStringLiteral("/none");

} // namespace

ThroughputSampler::ThroughputSampler(std::unique_ptr<platform::NetworkCounters> counters,
                                     QDateTime created)
    : m_counters(std::move(counters))
    , m_lastCheckTime(std::move(created))
{
}

void ThroughputSampler::takeBaseline(const QDateTime &now)
{
    const auto [received, sent] = read();
    m_lastBytesReceived = received;
    m_lastBytesSent = sent;
    m_lastCheckTime = now;
    m_baselineSource = m_readSource;
    qCInfo(lcNetworkMonitor, "Initial baseline: received=%llu, sent=%llu", received, sent);
}

ThroughputSampler::Sample ThroughputSampler::sample(const QDateTime &now)
{
    const auto [received, sent] = read();
    const double dt = double(m_lastCheckTime.msecsTo(now)) / 1000.0;
    if (dt <= 0) {
        return {};
    }
    if (m_readSource != m_baselineSource) {
        qCInfo(lcNetworkMonitor, "Counted interface changed from %s to %s: new baseline",
               qPrintable(m_baselineSource), qPrintable(m_readSource));
        m_lastBytesReceived = received;
        m_lastBytesSent = sent;
        m_lastCheckTime = now;
        m_baselineSource = m_readSource;
        return {Sample::Kind::NewBaseline, {}};
    }

    Rates rates;
    rates.receivedDiff = received - m_lastBytesReceived;
    if (received < m_lastBytesReceived) {
        qCWarning(lcNetworkMonitor, "Counter wraparound or reset detected for received");
        rates.receivedDiff = received;
    }
    rates.sentDiff = sent - m_lastBytesSent;
    if (sent < m_lastBytesSent) {
        qCWarning(lcNetworkMonitor, "Counter wraparound or reset detected for sent");
        rates.sentDiff = sent;
    }
    rates.down = double(rates.receivedDiff) / dt;
    rates.up = double(rates.sentDiff) / dt;

    m_lastBytesReceived = received;
    m_lastBytesSent = sent;
    m_lastCheckTime = now;
    ++m_sampleCount;
    qCDebug(lcNetworkMonitor, "Sample #%d: diff=[%llu, %llu], speed=[%f, %f]", m_sampleCount,
            rates.receivedDiff, rates.sentDiff, rates.down, rates.up);
    return {Sample::Kind::Measured, rates};
}

std::pair<quint64, quint64> ThroughputSampler::read()
{
    m_debugInterfaceData.clear();
    const platform::NetworkCounters::LinkList links = m_counters->links();
    if (!links.ok) {
        qCWarning(lcNetworkMonitor, "Netlink %s failed: errno=%d", qPrintable(links.failedStep),
                  links.error);
        m_readSource = fallbackSource;
        return fallback();
    }
    for (const platform::InterfaceBytes &link : links.interfaces) {
        qCDebug(lcNetworkMonitor, "Interface %s: received=%llu, sent=%llu", qPrintable(link.name),
                link.received, link.sent);
    }
    m_debugInterfaceData = links.interfaces;

    const std::optional<platform::InterfaceBytes> primary =
        findPrimaryInterface(links.interfaces, m_counters->defaultRouteInterface());
    if (!primary) {
        m_readSource = noSource;
        return {0, 0};
    }
    m_primaryInterface = primary->name;
    m_readSource = primary->name;
    qCInfo(lcNetworkMonitor, "Primary interface: %s, bytes=[%llu, %llu]", qPrintable(primary->name),
           primary->received, primary->sent);
    return {primary->received, primary->sent};
}

std::pair<quint64, quint64> ThroughputSampler::fallback()
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
ThroughputSampler::findPrimaryInterface(const QList<platform::InterfaceBytes> &interfaces,
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

double ThroughputSampler::applyMovingAverage(double current, const QList<double> &history,
                                             int samples)
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
