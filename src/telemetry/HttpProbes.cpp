#include "HttpProbes.h"

#include "NetworkMonitor.h"
#include "SerialQueue.h"

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPointer>

using namespace std::chrono_literals;

namespace {

constexpr auto progressStep = 100ms;
constexpr auto finishDelay = 1000ms;
/// Both requests give up after 30 s: the speed test without data, the public-IP record in all.
constexpr auto requestTimeout = 30s;
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
struct HttpProbes::Work : QObject {
    QNetworkAccessManager *manager = nullptr;
    QPointer<QNetworkReply> speedReply;
    quint64 speedTest = 0;
    QPointer<QNetworkReply> recordReply;

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

HttpProbes::HttpProbes(platform::Clock &clock, QUrl publicIpBase, QUrl speedTestBase,
                       QObject *parent)
    : QObject(parent)
    , m_clock(clock)
    , m_publicIpBase(std::move(publicIpBase))
    , m_speedTestBase(std::move(speedTestBase))
    , m_speedTestQueue(std::make_unique<SerialQueue>(QStringLiteral("NetworkMonitor.speedtest"),
                                                     QThread::HighPriority))
{
    m_work = new Work;
    m_speedTestQueue->adopt(m_work);
}

HttpProbes::~HttpProbes() = default;

QString HttpProbes::queueLabel() const
{
    return m_speedTestQueue->label();
}

void HttpProbes::fetchISPInfo()
{
    // Fetched once per run, after the first success; an empty name means "try again". One
    // request at a time: a stalled one is given up after 30 s, and the next call tries again.
    if (!m_ispName.isEmpty() || m_recordInFlight) {
        return;
    }
    QUrl url = m_publicIpBase;
    url.setPath(QStringLiteral("/json/"));
    url.setQuery(QString());
    if (!url.isValid() || url.scheme().isEmpty()) {
        return;
    }
    m_recordInFlight = true;
    if (!m_recordTimeout) {
        m_recordTimeout = m_clock.createTimer();
        m_recordTimeout->setSingleShot(true);
        connect(m_recordTimeout.get(), &platform::Timer::timeout, this, [this] {
            Work *work = m_work;
            m_speedTestQueue->post([work] {
                if (work->recordReply) {
                    work->recordReply->abort();
                }
            });
        });
    }
    m_recordTimeout->start(requestTimeout);

    Work *work = m_work;
    m_speedTestQueue->post([this, work, url] {
        QNetworkReply *reply = work->network()->get(QNetworkRequest(url));
        work->recordReply = reply;
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
            const std::optional<IspRecord> record = [&]() -> std::optional<IspRecord> {
                if (*oversized || transportFailed(reply) || !reply->isOpen()) {
                    return std::nullopt;
                }
                body->append(reply->read(maximumRecordBytes + 1 - body->size()));
                if (cutShort(reply, body->size())) {
                    return std::nullopt;
                }
                if (body->isEmpty() || body->size() > maximumRecordBytes) {
                    return std::nullopt;
                }
                return parseIspRecord(*body);
            }();
            QMetaObject::invokeMethod(
                this, [this, record] { recordEnded(record); }, Qt::QueuedConnection);
        });
    });
}

void HttpProbes::recordEnded(const std::optional<IspRecord> &record)
{
    m_recordInFlight = false;
    m_recordTimeout->stop();
    if (!record) {
        return;
    }
    const auto assign = [this](QString &field, const QString &value,
                               void (HttpProbes::*changed)()) {
        if (field != value) {
            field = value;
            Q_EMIT(this->*changed)();
        }
    };
    assign(m_ispName, record->ispName, &HttpProbes::ispNameChanged);
    assign(m_city, record->city, &HttpProbes::cityChanged);
    assign(m_country, record->country, &HttpProbes::countryChanged);
    assign(m_publicIP, record->publicIP, &HttpProbes::publicIPChanged);
}

std::optional<HttpProbes::IspRecord> HttpProbes::parseIspRecord(const QByteArray &body)
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

void HttpProbes::runSpeedTest()
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

void HttpProbes::performSpeedTest(quint64 test)
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

    Work *work = m_work;
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

void HttpProbes::speedTestStarted(quint64 test)
{
    if (test != m_speedTest) {
        return;
    }
    setSpeedTestProgress(0.3);
    for (int i = 1; i <= 6; ++i) {
        m_clock.singleShot(*this, progressStep * i, [this, i] {
            if (m_speedTestProgress < 0.9) {
                setSpeedTestProgress(0.3 + i * 0.1);
            }
        });
    }
    speedTestActivity(test);
}

void HttpProbes::speedTestActivity(quint64 test)
{
    // The request gives up after 30 s without data, like a URL request's time-out interval.
    if (test != m_speedTest || !m_isRunningSpeedTest) {
        return;
    }
    if (!m_speedTestTimeout) {
        m_speedTestTimeout = m_clock.createTimer();
        m_speedTestTimeout->setSingleShot(true);
        connect(m_speedTestTimeout.get(), &platform::Timer::timeout, this, [this] {
            Work *work = m_work;
            const quint64 expired = m_speedTest;
            m_speedTestQueue->post([work, expired] {
                if (work->speedReply && work->speedTest == expired) {
                    work->speedReply->abort();
                }
            });
        });
    }
    m_speedTestTimeout->start(requestTimeout);
}

void HttpProbes::speedTestCompleted(quint64 test, qint64 bytes, double seconds, bool succeeded)
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
            Q_EMIT downloadSpeedMeasured(result->second);
            qCInfo(lcNetworkMonitor, "Speed test result: %f Mbps", result->first);
        }
    }
    m_clock.singleShot(*this, finishDelay, [this] { finishSpeedTest(); });
}

std::optional<std::pair<double, double>> HttpProbes::speedTestResult(qint64 bytes, double seconds)
{
    if (bytes <= 0 || !(seconds > 0)) {
        return std::nullopt;
    }
    const double mbps = double(bytes) * 8.0 / seconds / 1'000'000.0;
    return std::pair{mbps, double(bytes) / seconds};
}

void HttpProbes::finishSpeedTest()
{
    setIsRunningSpeedTest(false);
    if (m_speedTestDownloadMbps > 0) {
        Q_EMIT downloadSpeedMeasured(m_speedTestDownloadMbps * 125'000.0);
    }
}

void HttpProbes::setSpeedTestProgress(double value)
{
    if (m_speedTestProgress != value) {
        m_speedTestProgress = value;
        Q_EMIT speedTestProgressChanged();
    }
}

void HttpProbes::setSpeedTestDownloadMbps(double value)
{
    if (m_speedTestDownloadMbps != value) {
        m_speedTestDownloadMbps = value;
        Q_EMIT speedTestDownloadMbpsChanged();
    }
}

void HttpProbes::setIsRunningSpeedTest(bool value)
{
    if (m_isRunningSpeedTest != value) {
        m_isRunningSpeedTest = value;
        Q_EMIT isRunningSpeedTestChanged();
    }
}
