#pragma once

#include "platform/ConnectionPath.h"
#include "platform/NetworkCounters.h"
#include "platform/NetworkProbes.h"
#include "telemetry/NetworkMonitor.h"

#include <QMutex>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

/// Interface counters set by the test. Main thread only.
class FakeNetworkCounters final : public platform::NetworkCounters {
public:
    struct State {
        LinkList links{true, 0, {}, {}};
        Totals fallback{true, 0, 0, false};
        QString defaultRoute;
        int linkCalls = 0;
        int fallbackCalls = 0;
    };

    explicit FakeNetworkCounters(std::shared_ptr<State> state)
        : m_state(std::move(state))
    {
    }

    LinkList links() override
    {
        ++m_state->linkCalls;
        return m_state->links;
    }
    Totals fallbackTotals() override
    {
        ++m_state->fallbackCalls;
        return m_state->fallback;
    }
    QString defaultRouteInterface() override { return m_state->defaultRoute; }

private:
    std::shared_ptr<State> m_state;
};

/// A path watcher that reports what the test tells it to.
class FakeConnectionPath final : public platform::ConnectionPath {
    Q_OBJECT

public:
    void start() override { m_started.storeRelease(1); }
    [[nodiscard]] bool started() const { return m_started.loadAcquire() != 0; }
    /// Emits a path update (from the calling thread; the monitor receives it queued).
    void report(const platform::PathStatus &status) { Q_EMIT pathUpdated(status); }

private:
    QAtomicInt m_started;
};

/// Tool outputs set by the test; calls are recorded. Safe from any thread.
class FakeNetworkProbes final : public platform::NetworkProbes {
public:
    struct State {
        QMutex lock;
        std::optional<QByteArray> pingOutput; ///< nothing = ping could not start
        /// When set, echoes go to it (which may hold them) instead of answering pingOutput.
        std::function<QCoro::Task<std::optional<QByteArray>>()> echo;
        std::optional<QString> wifiName;
        std::optional<QString> wifiStandard;
        QStringList calls; ///< "ping", "name IF", "standard IF"

        QStringList takeCalls()
        {
            const QMutexLocker locker(&lock);
            return std::exchange(calls, {});
        }
    };

    explicit FakeNetworkProbes(std::shared_ptr<State> state)
        : m_state(std::move(state))
    {
    }

    QCoro::Task<std::optional<QByteArray>> pingOnce() override
    {
        std::function<QCoro::Task<std::optional<QByteArray>>()> echo;
        std::optional<QByteArray> value;
        {
            const QMutexLocker locker(&m_state->lock);
            m_state->calls.append(QStringLiteral("ping"));
            echo = m_state->echo;
            value = m_state->pingOutput;
        }
        if (echo) {
            value = co_await echo();
        }
        co_return value;
    }
    QCoro::Task<std::optional<QString>> wifiName(QString interfaceName) override
    {
        const QMutexLocker locker(&m_state->lock);
        m_state->calls.append(u"name " + interfaceName);
        // A copy: QCoro's return_value moves from a non-const lvalue.
        auto value = m_state->wifiName;
        co_return value;
    }
    QCoro::Task<std::optional<QString>> wifiStandard(QString interfaceName) override
    {
        const QMutexLocker locker(&m_state->lock);
        m_state->calls.append(u"standard " + interfaceName);
        // A copy: QCoro's return_value moves from a non-const lvalue.
        auto value = m_state->wifiStandard;
        co_return value;
    }

private:
    std::shared_ptr<State> m_state;
};

/// Fake parts for a NetworkMonitor, with the handles a test needs to drive them.
struct FakeNetwork {
    std::shared_ptr<FakeNetworkCounters::State> counters =
        std::make_shared<FakeNetworkCounters::State>();
    std::shared_ptr<FakeNetworkProbes::State> probes = std::make_shared<FakeNetworkProbes::State>();
    FakeConnectionPath *path = nullptr; ///< owned by the monitor once parts() was taken

    /// Parts whose endpoints point at a closed local port unless given.
    NetworkMonitor::Parts
    parts(const QUrl &publicIpBase = QUrl(QStringLiteral("http://127.0.0.1:9")),
          const QUrl &speedTestBase = QUrl(QStringLiteral("http://127.0.0.1:9")))
    {
        NetworkMonitor::Parts parts;
        parts.counters = std::make_unique<FakeNetworkCounters>(counters);
        auto fakePath = std::make_unique<FakeConnectionPath>();
        path = fakePath.get();
        parts.path = std::move(fakePath);
        parts.probes = std::make_unique<FakeNetworkProbes>(probes);
        parts.publicIpBase = publicIpBase;
        parts.speedTestBase = speedTestBase;
        return parts;
    }

    void setLinks(QList<platform::InterfaceBytes> interfaces)
    {
        counters->links = {true, 0, {}, std::move(interfaces)};
    }
};
