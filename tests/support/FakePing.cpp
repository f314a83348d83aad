#include "FakePing.h"

#include <QCoro/QCoroSignal>

QCoro::Task<std::optional<QByteArray>> FakePing::echoOnce(QString host)
{
    hosts.append(host);
    if (holdReplies) {
        ++inFlight;
        co_await qCoro(this, &FakePing::released);
        --inFlight;
    }
    co_return output;
}
