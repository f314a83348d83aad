#pragma once

#include <QList>
#include <QString>

#include <memory>

namespace platform {

/// One up-and-running, non-loopback interface and its byte totals since it came up.
struct InterfaceBytes {
    QString name;
    quint64 received = 0;
    quint64 sent = 0;

    friend bool operator==(const InterfaceBytes &, const InterfaceBytes &) = default;
};

/// The kernel's per-interface byte counters. Safe to call from any one thread at a time.
class NetworkCounters {
public:
    /// The precise source: every up-and-running non-loopback interface with 64-bit totals.
    struct LinkList {
        bool ok = false;
        int error = 0;      ///< errno of the failed step when !ok
        QString failedStep; ///< which call failed, for the log ("socket", "send", "recv")
        QList<InterfaceBytes> interfaces;
    };
    /// The coarse fallback: 32-bit totals summed over every up-and-running non-loopback interface.
    struct Totals {
        bool ok = false;
        quint64 received = 0;
        quint64 sent = 0;
        bool hasValidData = false; ///< some interface had a non-zero counter
    };

    virtual ~NetworkCounters() = default;

    [[nodiscard]] virtual LinkList links() = 0;
    [[nodiscard]] virtual Totals fallbackTotals() = 0;
    /// The interface the default route leaves through (IPv4 first, then IPv6); empty if none.
    [[nodiscard]] virtual QString defaultRouteInterface() = 0;

    /// The counters of this system.
    [[nodiscard]] static std::unique_ptr<NetworkCounters> create();

protected:
    NetworkCounters() = default;
    NetworkCounters(const NetworkCounters &) = default;
    NetworkCounters &operator=(const NetworkCounters &) = default;
};

} // namespace platform
