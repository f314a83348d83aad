#include "DnsOptimizer.h"

#include "DiagnosticLine.h"
#include "PingSummary.h"

#include <QCoro/QCoroTimer>
#include <QPointer>

#include <algorithm>

using namespace Qt::StringLiterals;

using platform::PrivilegedOutcome;

namespace {

// The root helper's actions.
const QString setDnsAction = QStringLiteral("set-dns");
const QString flushDnsAction = QStringLiteral("flush-dns");
const QString restoreDnsAction = QStringLiteral("restore-dns");

} // namespace

const QHash<QString, QStringList> DnsOptimizer::providers{
    {QStringLiteral("Cloudflare"), {QStringLiteral("1.1.1.1"), QStringLiteral("1.0.0.1")}},
    {QStringLiteral("Google"), {QStringLiteral("8.8.8.8"), QStringLiteral("8.8.4.4")}},
    {QStringLiteral("OpenDNS"),
     {QStringLiteral("208.67.222.222"), QStringLiteral("208.67.220.220")}},
    {QStringLiteral("AdGuard"), {QStringLiteral("94.140.14.14"), QStringLiteral("94.140.15.15")}},
};

const QHash<QString, QStringList> DnsOptimizer::ipv6Providers{
    {QStringLiteral("Cloudflare"),
     {QStringLiteral("2606:4700:4700::1111"), QStringLiteral("2606:4700:4700::1001")}},
    {QStringLiteral("Google"),
     {QStringLiteral("2001:4860:4860::8888"), QStringLiteral("2001:4860:4860::8844")}},
    {QStringLiteral("OpenDNS"),
     {QStringLiteral("2620:119:35::35"), QStringLiteral("2620:119:53::53")}},
    {QStringLiteral("AdGuard"),
     {QStringLiteral("2a10:50c0::ad1:ff"), QStringLiteral("2a10:50c0::ad2:ff")}},
};

DnsOptimizer::DnsOptimizer(platform::PrivilegedRunner &privileged,
                           platform::NetworkServices &networkServices,
                           platform::LatencyProbe &latency, OptimizerPublisher &publisher,
                           QObject *parent)
    : QObject(parent)
    , m_privileged(privileged)
    , m_networkServices(networkServices)
    , m_latency(latency)
    , m_publisher(publisher)
{
}

QCoro::Task<std::optional<double>> DnsOptimizer::measureLatency(QString host)
{
    const std::optional<QByteArray> output = co_await m_latency.measure(host);
    co_return output ? PingSummary::averageMilliseconds(*output) : std::nullopt;
}

QCoro::Task<std::optional<QString>> DnsOptimizer::getActiveNetworkInterface()
{
    const platform::NetworkServices::ActiveService service =
        co_await m_networkServices.activeService();
    if (!service.target.isEmpty()) {
        co_return service.target;
    }
    if (!service.fetchError.isEmpty()) {
        DiagnosticLine::print(u"Interface fetch error: "_s + service.fetchError);
    }
    co_return std::nullopt;
}

QCoro::Task<PrivilegedOutcome> DnsOptimizer::applyProvider(QString providerName, bool thenFlush)
{
    const QPointer<DnsOptimizer> self(this);
    const auto provider = providers.constFind(providerName);
    if (provider == providers.cend()) {
        co_return PrivilegedOutcome{false, QStringLiteral("Unknown provider")};
    }
    const std::optional<QString> service = co_await getActiveNetworkInterface();
    if (!self) {
        co_return PrivilegedOutcome{false, {}};
    }
    if (!service) {
        // The placeholder fallbackService names no connection here: asked to set DNS for it,
        // the only thing the helper could change is the whole machine's resolv.conf.
        co_return PrivilegedOutcome{false, noConnectionText};
    }
    // The published list stays the IPv4 one; the helper sorts the two kinds apart.
    const QStringList arguments =
        QStringList{*service} + *provider + ipv6Providers.value(providerName);
    PrivilegedOutcome outcome;
    if (thenFlush) {
        // One start of the helper for both, so the password is asked for once.
        const QList<platform::PrivilegedStep> steps{{setDnsAction, arguments, false},
                                                    {flushDnsAction, {}, true}};
        const QList<PrivilegedOutcome> outcomes = co_await m_privileged.runSteps(steps);
        outcome = outcomes.value(0, PrivilegedOutcome{false, QStringLiteral("Unknown error")});
    } else {
        outcome = co_await m_privileged.run(setDnsAction, arguments);
    }
    if (self && outcome.success) {
        m_publisher.publishCurrentDNS(*provider);
    }
    co_return outcome;
}

QCoro::Task<> DnsOptimizer::setDNS(QString providerName, OptimizerCompletion completion)
{
    const QPointer<DnsOptimizer> self(this);
    const PrivilegedOutcome outcome = co_await applyProvider(providerName);
    if (self && completion) {
        completion(outcome.success,
                   outcome.success ? u"DNS set to "_s + providerName : outcome.message);
    }
}

QCoro::Task<> DnsOptimizer::flushDNS(OptimizerCompletion completion)
{
    const QPointer<DnsOptimizer> self(this);
    const PrivilegedOutcome outcome = co_await m_privileged.run(flushDnsAction, {});
    // The runner's own text is not shown here.
    if (self && completion) {
        completion(outcome.success, outcome.success ? QStringLiteral("DNS cache flushed")
                                                    : QStringLiteral("Failed to flush DNS"));
    }
}

QCoro::Task<> DnsOptimizer::restoreAutomaticDNS(OptimizerCompletion completion)
{
    const QPointer<DnsOptimizer> self(this);
    const std::optional<QString> service = co_await getActiveNetworkInterface();
    if (!self) {
        co_return;
    }
    PrivilegedOutcome outcome{false, noConnectionText};
    if (service) {
        const QStringList arguments{*service};
        outcome = co_await m_privileged.run(restoreDnsAction, arguments);
        if (!self) {
            co_return;
        }
    }
    if (outcome.success && !m_publisher.currentDNS().isEmpty()) {
        m_publisher.publishCurrentDNS({});
    }
    if (completion) {
        completion(outcome.success,
                   outcome.success ? QStringLiteral("Automatic DNS restored") : outcome.message);
    }
}

QCoro::Task<> DnsOptimizer::autoTuneNetwork(OptimizerCompletion completion)
{
    const QPointer<DnsOptimizer> self(this);
    co_await QCoro::sleepFor(std::chrono::milliseconds(0));
    if (!self) {
        co_return;
    }
    co_await runAutoTuneNetwork(std::move(completion));
}

QCoro::Task<> DnsOptimizer::runAutoTuneNetwork(OptimizerCompletion completion)
{
    const QPointer<DnsOptimizer> self(this);
    const std::optional<double> before = co_await measureLatency(baselineHost);
    if (!self) {
        co_return;
    }
    QList<std::pair<QString, double>> answered;
    for (auto provider = providers.cbegin(); provider != providers.cend(); ++provider) {
        if (provider->isEmpty()) {
            continue;
        }
        const std::optional<double> latency = co_await measureLatency(provider->constFirst());
        if (!self) {
            co_return;
        }
        if (latency) {
            answered.append({provider.key(), *latency});
        }
    }
    std::stable_sort(answered.begin(), answered.end(),
                     [](const auto &a, const auto &b) { return a.second < b.second; });
    if (answered.isEmpty()) {
        if (completion) {
            completion(false, QStringLiteral("Could not benchmark DNS providers"));
        }
        co_return;
    }

    const QString name = answered.constFirst().first;
    // Tuning carries on whether or not the flush that follows the switch worked.
    const PrivilegedOutcome applied = co_await applyProvider(name, true);
    if (!self) {
        co_return;
    }
    if (!applied.success) {
        if (completion) {
            completion(false, applied.message);
        }
        co_return;
    }
    const QStringList servers = providers.value(name);
    const std::optional<double> after =
        co_await measureLatency(servers.isEmpty() ? baselineHost : servers.constFirst());
    if (!self) {
        co_return;
    }

    OptimizationReport report;
    report.title = QStringLiteral("Network tuned");
    // The flush line is written even when the flush failed.
    report.actions = {u"Selected fastest DNS: "_s + name, QStringLiteral("Flushed DNS cache")};
    report.selectedDNSProvider = name;
    report.latencyBeforeMS = before;
    report.latencyAfterMS = after;
    m_publisher.publishReport(std::move(report));
    if (completion) {
        completion(true, u"Network tuned with "_s + name);
    }
}
