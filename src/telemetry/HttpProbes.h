#pragma once

#include "platform/Clock.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QUrl>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

class SerialQueue;

/// The network monitor's requests over HTTP: the public-IP record and the download speed test.
/// The requests run on the "NetworkMonitor.speedtest" queue; their results, and every delay
/// (the simulated progress, the end of a test, its time-out), are handled on the main thread.
class HttpProbes : public QObject {
    Q_OBJECT

public:
    static constexpr qint64 speedTestBytes = 10'000'000;
    /// Larger public-IP replies are dropped unread: the record is a few hundred bytes.
    static constexpr qint64 maximumRecordBytes = 1024 * 1024;

    /// publicIpBase answers "/json/" with "org", "city", "country_name", "ip";
    /// speedTestBase answers "/__down?bytes=N" with N bytes.
    HttpProbes(platform::Clock &clock, QUrl publicIpBase, QUrl speedTestBase,
               QObject *parent = nullptr);
    ~HttpProbes() override;

    [[nodiscard]] bool isRunningSpeedTest() const { return m_isRunningSpeedTest; }
    [[nodiscard]] double speedTestDownloadMbps() const { return m_speedTestDownloadMbps; }
    [[nodiscard]] double speedTestUploadMbps() const { return m_speedTestUploadMbps; }
    [[nodiscard]] double speedTestProgress() const { return m_speedTestProgress; }
    [[nodiscard]] QString ispName() const { return m_ispName; }
    [[nodiscard]] QString city() const { return m_city; }
    [[nodiscard]] QString country() const { return m_country; }
    [[nodiscard]] QString publicIP() const { return m_publicIP; }
    [[nodiscard]] QString queueLabel() const;

    /// Fetches the public-IP record unless one has been fetched successfully or a request is
    /// under way; a request is given up after 30 s.
    void fetchISPInfo();
    /// Starts the download test unless one is running.
    void runSpeedTest();

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
    void isRunningSpeedTestChanged();
    void speedTestDownloadMbpsChanged();
    void speedTestUploadMbpsChanged();
    void speedTestProgressChanged();
    void ispNameChanged();
    void cityChanged();
    void countryChanged();
    void publicIPChanged();
    /// The speed test sets the live download speed: bytes per second.
    void downloadSpeedMeasured(double bytesPerSecond);

private:
    struct Work;

    void recordEnded(const std::optional<IspRecord> &record);
    void performSpeedTest(quint64 test);
    void speedTestStarted(quint64 test);
    void speedTestActivity(quint64 test);
    void speedTestCompleted(quint64 test, qint64 bytes, double seconds, bool succeeded);
    void finishSpeedTest();
    void setSpeedTestProgress(double value);
    void setSpeedTestDownloadMbps(double value);
    void setIsRunningSpeedTest(bool value);

    platform::Clock &m_clock;
    QUrl m_publicIpBase;
    QUrl m_speedTestBase;

    bool m_isRunningSpeedTest = false;
    double m_speedTestDownloadMbps = 0;
    double m_speedTestUploadMbps = 0;
    double m_speedTestProgress = 0;
    QString m_ispName;
    QString m_city;
    QString m_country;
    QString m_publicIP;

    quint64 m_speedTest = 0; ///< number of the current (or last) speed test
    std::unique_ptr<platform::Timer> m_speedTestTimeout;
    bool m_recordInFlight = false;
    std::unique_ptr<platform::Timer> m_recordTimeout;

    // Declared last: destroyed first, so the queue no longer runs while the members above go.
    std::unique_ptr<SerialQueue> m_speedTestQueue;
    Work *m_work = nullptr; ///< lives on m_speedTestQueue
};
