#pragma once

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

class SerialQueue;

Q_DECLARE_LOGGING_CATEGORY(lcNetworkMonitor)

/// The model behind the dashboard's network panel: per-second throughput
/// from the interface counters, latency, the connection path, the Wi-Fi name and standard, the
/// public-IP record and an on-demand download speed test.
///
/// Published properties change on the main thread only. Its three queues keep their roles:
/// the path watcher lives on "NetworkMonitor.speed", the Wi-Fi tools run on "NetworkMonitor.ssid",
/// and the HTTP requests on "NetworkMonitor.speedtest"; their results come back to the main
/// thread. The counter sample and the latency probe run from the main thread's timer.
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
    static constexpr qint64 speedTestBytes = 10'000'000;
    /// Larger public-IP replies are dropped unread: the record is a few hundred bytes.
    static constexpr qint64 maximumRecordBytes = 1024 * 1024;

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
    [[nodiscard]] bool isConnected() const { return m_isConnected; }
    [[nodiscard]] QString connectionType() const { return m_connectionType; }
    [[nodiscard]] QString connectionName() const { return m_connectionName; }
    [[nodiscard]] QString wifiStandard() const { return m_wifiStandard; }
    [[nodiscard]] QString activeInterface() const { return m_activeInterface; }
    [[nodiscard]] bool isRunningSpeedTest() const { return m_isRunningSpeedTest; }
    [[nodiscard]] double speedTestDownloadMbps() const { return m_speedTestDownloadMbps; }
    [[nodiscard]] double speedTestUploadMbps() const { return m_speedTestUploadMbps; }
    [[nodiscard]] double speedTestProgress() const { return m_speedTestProgress; }
    [[nodiscard]] QString ispName() const { return m_ispName; }
    [[nodiscard]] QString city() const { return m_city; }
    [[nodiscard]] QString country() const { return m_country; }
    [[nodiscard]] QString publicIP() const { return m_publicIP; }

    // Unpublished state, read by tests and the benchmark.
    [[nodiscard]] QString primaryInterface() const { return m_primaryInterface; }
    [[nodiscard]] int sampleCount() const { return m_sampleCount; }
    [[nodiscard]] QList<platform::InterfaceBytes> debugInterfaceData() const
    {
        return m_debugInterfaceData;
    }
    [[nodiscard]] std::pair<quint64, quint64> lastBytes() const
    {
        return {m_lastBytesReceived, m_lastBytesSent};
    }
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
                         const QString &defaultRouteInterface = {});
    /// (sum of the last min(samples, n) history values + current) / (k + 1); current alone for
    /// an empty history.
    [[nodiscard]] static double applyMovingAverage(double current, const QList<double> &history,
                                                   int samples);
    /// The speed test's figures for a body of this size received in this time: megabits per
    /// second and bytes per second; nothing unless both are positive.
    [[nodiscard]] static std::optional<std::pair<double, double>> speedTestResult(qint64 bytes,
                                                                                  double seconds);

    /// What the public-IP record publishes.
    struct IspRecord {
        QString ispName;
        QString city;
        QString country;
        QString publicIP;
    };
    /// How a reply body is read: nothing unless it is a JSON object; missing or
    /// non-string members read as empty; the ISP is the first space-separated word of "org".
    [[nodiscard]] static std::optional<IspRecord> parseIspRecord(const QByteArray &body);

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
    struct SpeedTestWork;
    struct RecordWork;

    void updateNetworkStatsAtomic();
    std::pair<quint64, quint64> fallbackGetNetworkBytes();
    void fetchLatencyAsync();
    void applyPath(const platform::PathStatus &status);
    void lazyFetchSSID();
    void fetchWiFiInfoAsync();
    void performSpeedTest(quint64 test);
    void speedTestStarted(quint64 test);
    void speedTestActivity(quint64 test);
    void speedTestCompleted(quint64 test, qint64 bytes, double seconds, bool succeeded);
    void finishSpeedTest();
    void after(std::chrono::milliseconds delay, std::function<void()> action);

    void setDownloadSpeed(double value);
    void setUploadSpeed(double value);
    void setConnectionName(const QString &value);
    void setWifiStandard(const QString &value);
    void setSpeedTestProgress(double value);
    void setSpeedTestDownloadMbps(double value);
    void setIsRunningSpeedTest(bool value);

    platform::Clock &m_clock;
    std::unique_ptr<platform::NetworkCounters> m_counters;
    platform::ConnectionPath *m_path; ///< lives on, and is owned by, m_monitorQueue
    std::unique_ptr<platform::NetworkProbes> m_probes;
    QUrl m_publicIpBase;
    QUrl m_speedTestBase;

    double m_downloadSpeed = 0;
    double m_uploadSpeed = 0;
    std::optional<double> m_latency;
    QList<double> m_downloadHistory;
    QList<double> m_uploadHistory;
    bool m_isConnected = true;
    QString m_connectionType = QStringLiteral("Unknown");
    QString m_connectionName = QStringLiteral("Not Connected");
    QString m_wifiStandard;
    QString m_activeInterface;
    bool m_isRunningSpeedTest = false;
    double m_speedTestDownloadMbps = 0;
    double m_speedTestUploadMbps = 0;
    double m_speedTestProgress = 0;
    QString m_ispName;
    QString m_city;
    QString m_country;
    QString m_publicIP;

    /// Every timer startMonitoring() ever installed: replaced ones keep firing, on purpose.
    std::vector<std::unique_ptr<platform::Timer>> m_monitorTimers;
    quint64 m_lastBytesReceived = 0;
    quint64 m_lastBytesSent = 0;
    QDateTime m_lastCheckTime;
    QList<platform::InterfaceBytes> m_debugInterfaceData;
    QString m_primaryInterface = QStringLiteral("en0");
    int m_sampleCount = 0;
    bool m_pathStarted = false;
    quint64 m_speedTest = 0; ///< number of the current (or last) speed test
    std::unique_ptr<platform::Timer> m_speedTestTimeout;

    // Declared last: destroyed first, so no queue still runs while the members above go.
    std::unique_ptr<SerialQueue> m_monitorQueue;
    std::unique_ptr<SerialQueue> m_ssidQueue;
    std::unique_ptr<SerialQueue> m_speedTestQueue;
    SpeedTestWork *m_speedWork = nullptr; ///< lives on m_speedTestQueue
};
