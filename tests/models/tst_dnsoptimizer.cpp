#include "FakeLatencyProbe.h"
#include "FakeNetworkServices.h"
#include "FakePrivilegedRunner.h"
#include "TestEnvironment.h"
#include "optimizer/DnsOptimizer.h"

#include <QGuiApplication>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// Keeps what the DNS side publishes, and counts it, so a test sees that it touches only the
/// servers and the report.
class RecordingPublisher final : public OptimizerPublisher {
public:
    QStringList servers;
    int serverChanges = 0;
    QList<OptimizationReport> reports;
    int otherChanges = 0;

    [[nodiscard]] QList<RunningAppInfo> detectedGames() const override { return {}; }
    [[nodiscard]] QStringList currentDNS() const override { return servers; }
    [[nodiscard]] std::optional<QSize> originalResolution() const override { return {}; }

    void publishReport(OptimizationReport report) override { reports.append(std::move(report)); }
    void publishDetectedGames(const QList<RunningAppInfo> &) override { ++otherChanges; }
    void publishGameModeEnabled(bool) override { ++otherChanges; }
    void publishAntiShutEnabled(bool) override { ++otherChanges; }
    void publishFocusModeEnabled(bool) override { ++otherChanges; }
    void publishMetalHUDEnabled(bool) override { ++otherChanges; }
    void publishCurrentDNS(const QStringList &next) override
    {
        servers = next;
        ++serverChanges;
    }
    void publishOriginalResolution(std::optional<QSize>) override { ++otherChanges; }
};

struct Finished {
    bool called = false;
    bool success = false;
    QString message;
};

} // namespace

class TestDnsOptimizer : public QObject {
    Q_OBJECT

private:
    FakePrivilegedRunner m_privileged;
    FakeNetworkServices m_services;
    FakeLatencyProbe m_latency;
    RecordingPublisher m_publisher;
    std::unique_ptr<DnsOptimizer> m_dns;

    template <typename Operation>
    Finished complete(Operation operation)
    {
        Finished finished;
        operation([&finished](bool success, const QString &message) {
            finished = {true, success, message};
        });
        [&] { QTRY_VERIFY(finished.called); }();
        return finished;
    }

private Q_SLOTS:
    void init()
    {
        m_privileged.calls.clear();
        m_privileged.answer = [](const QStringList &) {
            return platform::PrivilegedOutcome{true, {}};
        };
        m_services.service = {u"Wi-Fi"_s, {}};
        m_latency.outputs.clear();
        m_publisher = RecordingPublisher();
        m_dns = std::make_unique<DnsOptimizer>(m_privileged, m_services, m_latency, m_publisher);
    }

    void cleanup() { m_dns.reset(); }

    void setPublishesTheServers()
    {
        const Finished finished = complete([&](auto done) { m_dns->setDNS(u"OpenDNS"_s, done); });
        QVERIFY(finished.success);
        QCOMPARE(finished.message, u"DNS set to OpenDNS"_s);
        QCOMPARE(m_publisher.servers, DnsOptimizer::providers.value(u"OpenDNS"_s));
        // A dual-stack connection gets the provider's IPv6 resolvers too; the published list
        // stays the IPv4 one.
        QCOMPARE(
            m_privileged.calls,
            (QList<QStringList>{{u"set-dns"_s, u"Wi-Fi"_s, u"208.67.222.222"_s, u"208.67.220.220"_s,
                                 u"2620:119:35::35"_s, u"2620:119:53::53"_s}}));
        QCOMPARE(m_publisher.serverChanges, 1);
        QVERIFY(m_publisher.reports.isEmpty());
        QCOMPARE(m_publisher.otherChanges, 0);
    }

    void anUnknownProviderChangesNothing()
    {
        const Finished finished = complete([&](auto done) { m_dns->setDNS(u"Quad7"_s, done); });
        QVERIFY(!finished.success);
        QCOMPARE(finished.message, u"Unknown provider"_s);
        QVERIFY(m_privileged.calls.isEmpty());
        QCOMPARE(m_publisher.serverChanges, 0);
    }

    void restoringWithNothingSetPublishesNothing()
    {
        const Finished finished = complete([&](auto done) { m_dns->restoreAutomaticDNS(done); });
        QVERIFY(finished.success);
        QCOMPARE(m_privileged.calls, (QList<QStringList>{{u"restore-dns"_s, u"Wi-Fi"_s}}));
        QCOMPARE(m_publisher.serverChanges, 0);
    }

    void tuningPicksTheFastestAndReportsOnce()
    {
        m_latency.outputs.insert(DnsOptimizer::baselineHost, FakeLatencyProbe::summary(40));
        m_latency.outputs.insert(u"8.8.8.8"_s, FakeLatencyProbe::summary(12));
        m_latency.outputs.insert(u"94.140.14.14"_s, FakeLatencyProbe::summary(30));
        const Finished finished = complete([&](auto done) { m_dns->autoTuneNetwork(done); });
        QVERIFY(finished.success);
        QCOMPARE(finished.message, u"Network tuned with Google"_s);
        QCOMPARE(m_publisher.reports.size(), 1);
        const OptimizationReport &report = m_publisher.reports.constFirst();
        QCOMPARE(report.title, u"Network tuned"_s);
        QCOMPARE(report.selectedDNSProvider, std::optional<QString>(u"Google"_s));
        QCOMPARE(report.latencyBeforeMS, std::optional<double>(40));
        QCOMPARE(report.latencyAfterMS, std::optional<double>(12));
        QCOMPARE(m_privileged.calls.constLast(), QStringList{u"flush-dns"_s});
        QCOMPARE(m_publisher.otherChanges, 0);
    }
};

KV_TEST_MAIN(TestDnsOptimizer)
#include "tst_dnsoptimizer.moc"
