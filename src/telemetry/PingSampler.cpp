#include "PingSampler.h"

#include "PingOutput.h"

#include <QPointer>

PingSampler::PingSampler(Echo echo, QObject *parent)
    : QObject(parent)
    , m_echo(std::move(echo))
{
}

int PingSampler::addStream()
{
    m_inFlight.push_back(false);
    return int(m_inFlight.size()) - 1;
}

void PingSampler::probe(int stream)
{
    if (stream < 0 || std::size_t(stream) >= m_inFlight.size() || m_inFlight[stream]) {
        return;
    }
    run(stream);
}

QCoro::Task<> PingSampler::run(int stream)
{
    m_inFlight[stream] = true;
    const quint64 echo = ++m_sent;
    const QPointer<PingSampler> self(this);
    const std::optional<QByteArray> output = co_await m_echo();
    if (!self) {
        co_return;
    }
    m_inFlight[stream] = false;
    if (!output || echo < m_reported) {
        co_return;
    }
    if (const std::optional<double> time = PingOutput::firstRoundTripTime(*output)) {
        m_reported = echo;
        Q_EMIT measured(*time);
    }
}
