#pragma once

#include <QByteArray>
#include <QCoro/QCoroTask>
#include <QObject>

#include <functional>
#include <optional>
#include <vector>

/// The per-second latency probe of the monitors: sends one echo through the given function and
/// reports the round-trip time read from the tool's text. Each sampling stream (one per
/// monitoring timer) has at most one echo in flight, so a slow network never piles probes up,
/// and an answer to an echo sent before the newest reported one is dropped, so the shown value
/// never goes back in time. A reply without a time reports nothing.
class PingSampler : public QObject {
    Q_OBJECT

public:
    /// One echo request: the tool's whole output, or nothing when it could not be started.
    using Echo = std::function<QCoro::Task<std::optional<QByteArray>>()>;

    explicit PingSampler(Echo echo, QObject *parent = nullptr);

    /// A new sampling stream, named by the number returned.
    int addStream();
    /// Sends one echo for the stream unless its previous one has not answered yet; its time
    /// arrives through measured().
    void probe(int stream);

Q_SIGNALS:
    void measured(double milliseconds);

private:
    QCoro::Task<> run(int stream);

    Echo m_echo;
    std::vector<bool> m_inFlight; ///< by stream
    quint64 m_sent = 0;           ///< number of the last echo sent
    quint64 m_reported = 0;       ///< number of the echo whose time was reported last
};
