#pragma once

#include <QByteArray>
#include <QCoro/QCoroTask>
#include <QObject>

#include <functional>
#include <optional>

/// The per-second latency probe: sends one echo through the given function and reports the
/// round-trip time read from the tool's text. A reply without a time reports nothing.
class PingSampler : public QObject {
    Q_OBJECT

public:
    /// One echo request: the tool's whole output, or nothing when it could not be started.
    using Echo = std::function<QCoro::Task<std::optional<QByteArray>>()>;

    explicit PingSampler(Echo echo, QObject *parent = nullptr);

    /// Sends one echo; its time arrives through measured().
    void probe();

Q_SIGNALS:
    void measured(double milliseconds);

private:
    QCoro::Task<> run();

    Echo m_echo;
};
