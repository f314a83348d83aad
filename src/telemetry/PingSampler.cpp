#include "PingSampler.h"

#include "PingOutput.h"

#include <QPointer>

PingSampler::PingSampler(Echo echo, QObject *parent)
    : QObject(parent)
    , m_echo(std::move(echo))
{
}

void PingSampler::probe()
{
    run();
}

QCoro::Task<> PingSampler::run()
{
    const QPointer<PingSampler> self(this);
    const std::optional<QByteArray> output = co_await m_echo();
    if (!self || !output) {
        co_return;
    }
    if (const std::optional<double> time = PingOutput::firstRoundTripTime(*output)) {
        Q_EMIT measured(*time);
    }
}
