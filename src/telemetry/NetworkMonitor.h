#pragma once

#include "ConnectionWatcher.h"
#include "HttpProbes.h"
#include "PingSampler.h"
#include "ThroughputSampler.h"
#include "platform/Clock.h"
#include "platform/ConnectionPath.h"
#include "platform/NetworkCounters.h"
#include "platform/NetworkProbes.h"

#include <QList>
#include <QLoggingCategory>
#include <QObject>
#include <QString>
#include <QUrl>
#include <QVariant>

#include <memory>
#include <optional>
#include <utility>
#include <vector>

Q_DECLARE_LOGGING_CATEGORY(lcNetworkMonitor)

/// The model behind the dashboard's network panel: per-second throughput
/// from the interface counters, latency, the connection path, the Wi-Fi name and standard, the
/// public-IP record and an on-demand download speed test.
///
/// Published properties change on the main thread only. The work is done by one part per
/// concern: the counters and their baseline (ThroughputSampler), the latency probe
/// (PingSampler), the connection path and Wi-Fi identity (ConnectionWatcher, with the
/// "NetworkMonitor.speed" and "NetworkMonitor.ssid" queues) and the public-IP record and speed
/// test (HttpProbes, on "NetworkMonitor.speedtest"). The counter sample and the latency probe run
/// from the main thread's timer.
///
/// Odd on purpose: every startMonitoring() adds one more sampling stream; the
/// histories hold raw rates while the published speeds are smoothed; the ISP is the first word of
/// "org"; the upload speed of the speed test is always 0; its progress bar is simulated.
class NetworkMonitor : public QObject {
    Q_OBJECT

    Q_PROPERTY(double downloadSpeed READ downloadSpeed NOTIFY downloadSpeedChanged)
    Q_PROPERTY(double uploadSpeed READ uploadSpeed NOTIFY uploadSpeedChanged)
    /// Milliseconds, or undefined before the first answer.
    Q_PROPERTY(QVariant latency READ latencyValue NOTIFY latencyChanged)
    Q_PROPERTY(QList<double> downloadHistory READ downloadHistory NOTIFY downloadHistoryChanged)
    Q_PROPERTY(QList<double> uploadHistory READ uploadHistory NOTIFY uploadHistoryChanged)
    Q_PROPERTY(bool isConnected READ isConnected NOTIFY isConnectedChanged)
    Q_PROPERTY(QString connectionType READ connectionType NOTIFY connectionTypeChanged)
    Q_PROPERTY(QString connectionName READ connectionName NOTIFY connectionNameChanged)
    Q_PROPERTY(QString wifiStandard READ wifiStandard NOTIFY wifiStandardChanged)
    Q_PROPERTY(QString activeInterface READ activeInterface NOTIFY activeInterfaceChanged)
    Q_PROPERTY(bool isRunningSpeedTest READ isRunningSpeedTest NOTIFY isRunningSpeedTestChanged)
    Q_PROPERTY(
        double speedTestDownloadMbps READ speedTestDownloadMbps NOTIFY speedTestDownloadMbpsChanged)
    Q_PROPERTY(
        double speedTestUploadMbps READ speedTestUploadMbps NOTIFY speedTestUploadMbpsChanged)
    Q_PROPERTY(double speedTestProgress READ speedTestProgress NOTIFY speedTestProgressChanged)
    Q_PROPERTY(QString ispName READ ispName NOTIFY ispNameChanged)
    Q_PROPERTY(QString city READ city NOTIFY cityChanged)
    Q_PROPERTY(QString country READ country NOTIFY countryChanged)
    Q_PROPERTY(QString publicIP READ publicIP NOTIFY publicIPChanged)

public:
    static constexpr int maxHistory = 60;
    static constexpr qint64 speedTestBytes = HttpProbes::speedTestBytes;
    static constexpr qint64 maximumRecordBytes = HttpProbes::maximumRecordBytes;

    /// The platform parts and endpoints; a part left empty is this system's.
    struct Parts {
        std::unique_ptr<platform::NetworkCounters> counters;
        std::unique_ptr<platform::ConnectionPath> path;
        /// Called from the main thread (ping) and the Wi-Fi queue; must allow both.
        std::unique_ptr<platform::NetworkProbes> probes;
        /// Answers "/json/" with "org", "city", "country_name", "ip".
        QUrl publicIpBase = QUrl(QStringLiteral("https://ipapi.co"));
        /// Answers "/__down?bytes=N" with N bytes.
        QUrl speedTestBase = QUrl(QStringLiteral("https://speed.cloudflare.com"));
    };

    /// The real monitor: this system's counters, path watcher and tools, the real clock.
    explicit NetworkMonitor(QObject *parent = nullptr);
    NetworkMonitor(Parts parts, platform::Clock &clock, QObject *parent = nullptr);
    ~NetworkMonitor() override;

    [[nodiscard]] double downloadSpeed() const { return m_downloadSpeed; }
    [[nodiscard]] double uploadSpeed() const { return m_uploadSpeed; }
    [[nodiscard]] std::optional<double> latency() const { return m_latency; }
    [[nodiscard]] QVariant latencyValue() const;
    [[nodiscard]] QList<double> downloadHistory() const { return m_downloadHistory; }
    [[nodiscard]] QList<double> uploadHistory() const { return m_uploadHistory; }
    [[nodiscard]] bool isConnected() const { return m_connection->isConnected(); }
    [[nodiscard]] QString connectionType() const { return m_connection->connectionType(); }
    [[nodiscard]] QString connectionName() const { return m_connection->connectionName(); }
    [[nodiscard]] QString wifiStandard() const { return m_connection->wifiStandard(); }
    [[nodiscard]] QString activeInterface() const { return m_connection->activeInterface(); }
    [[nodiscard]] bool isRunningSpeedTest() const { return m_http->isRunningSpeedTest(); }
    [[nodiscard]] double speedTestDownloadMbps() const { return m_http->speedTestDownloadMbps(); }
    [[nodiscard]] double speedTestUploadMbps() const { return m_http->speedTestUploadMbps(); }
    [[nodiscard]] double speedTestProgress() const { return m_http->speedTestProgress(); }
    [[nodiscard]] QString ispName() const { return m_http->ispName(); }
    [[nodiscard]] QString city() const { return m_http->city(); }
    [[nodiscard]] QString country() const { return m_http->country(); }
    [[nodiscard]] QString publicIP() const { return m_http->publicIP(); }

    // Unpublished state, read by tests and the benchmark.
    [[nodiscard]] QString primaryInterface() const { return m_sampler.primaryInterface(); }
    [[nodiscard]] int sampleCount() const { return m_sampler.sampleCount(); }
    [[nodiscard]] QList<platform::InterfaceBytes> debugInterfaceData() const
    {
        return m_sampler.debugInterfaceData();
    }
    [[nodiscard]] std::pair<quint64, quint64> lastBytes() const { return m_sampler.lastBytes(); }
    [[nodiscard]] QStringList queueLabels() const;

    /// Starts the path watcher, takes the counter baseline, asks for the Wi-Fi name and the
    /// public-IP record and starts a 1 s sampling timer. Every further call adds another timer.
    Q_INVOKABLE void startMonitoring();
    /// Fetches the public-IP record unless one has been fetched successfully.
    Q_INVOKABLE void fetchISPInfo();
    /// Starts the download test unless one is running.
    Q_INVOKABLE void runSpeedTest();

    /// One counter sample: the totals of the primary interface (or the fallback's sum).
    std::pair<quint64, quint64> getNetworkBytesFromPrimaryInterface();

    /// "%.1f MB/s", "%.1f KB/s" or "%.0f B/s", in steps of 1024.
    Q_INVOKABLE [[nodiscard]] static QString formatSpeed(double bytesPerSecond);
    /// "%.0f Gbps", "%.1f Mbps" or "%.0f Kbps", in steps of 1000.
    Q_INVOKABLE [[nodiscard]] static QString formatMbps(double megabitsPerSecond);

    /// The default route's interface when its counters are non-zero; else the first of
    /// "en0"…"en5" with traffic; else the largest total (the earliest on ties).
    [[nodiscard]] static std::optional<platform::InterfaceBytes>
    findPrimaryInterface(const QList<platform::InterfaceBytes> &interfaces,
                         const QString &defaultRouteInterface = {})
    {
        return ThroughputSampler::findPrimaryInterface(interfaces, defaultRouteInterface);
    }
    /// (sum of the last min(samples, n) history values + current) / (k + 1); current alone for
    /// an empty history.
    [[nodiscard]] static double applyMovingAverage(double current, const QList<double> &history,
                                                   int samples)
    {
        return ThroughputSampler::applyMovingAverage(current, history, samples);
    }
    /// The speed test's figures for a body of this size received in this time: megabits per
    /// second and bytes per second; nothing unless both are positive.
    [[nodiscard]] static std::optional<std::pair<double, double>> speedTestResult(qint64 bytes,
                                                                                  double seconds)
    {
        return HttpProbes::speedTestResult(bytes, seconds);
    }

    using IspRecord = HttpProbes::IspRecord;
    /// How a reply body is read: nothing unless it is a JSON object; missing or
    /// non-string members read as empty; the ISP is the first space-separated word of "org".
    [[nodiscard]] static std::optional<IspRecord> parseIspRecord(const QByteArray &body)
    {
        return HttpProbes::parseIspRecord(body);
    }

Q_SIGNALS:
    void downloadSpeedChanged();
    void uploadSpeedChanged();
    void latencyChanged();
    void downloadHistoryChanged();
    void uploadHistoryChanged();
    void isConnectedChanged();
    void connectionTypeChanged();
    void connectionNameChanged();
    void wifiStandardChanged();
    void activeInterfaceChanged();
    void isRunningSpeedTestChanged();
    void speedTestDownloadMbpsChanged();
    void speedTestUploadMbpsChanged();
    void speedTestProgressChanged();
    void ispNameChanged();
    void cityChanged();
    void countryChanged();
    void publicIPChanged();

private:
    /// One sample of a sampling stream (one per startMonitoring()).
    void updateNetworkStatsAtomic(int stream);
    void fetchLatencyAsync(int stream);
    void setDownloadSpeed(double value);
    void setUploadSpeed(double value);

    platform::Clock &m_clock;
    std::unique_ptr<platform::NetworkProbes> m_probes;
    ThroughputSampler m_sampler;

    double m_downloadSpeed = 0;
    double m_uploadSpeed = 0;
    std::optional<double> m_latency;
    QList<double> m_downloadHistory;
    QList<double> m_uploadHistory;

    /// Every timer startMonitoring() ever installed: replaced ones keep firing, on purpose.
    std::vector<std::unique_ptr<platform::Timer>> m_monitorTimers;

    // Declared after the probes they use, so they (and their queues) go first.
    std::unique_ptr<PingSampler> m_ping;
    std::unique_ptr<ConnectionWatcher> m_connection;
    std::unique_ptr<HttpProbes> m_http;
};
