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
    // A copy: QCoro moves whatever co_return names, members included.
    co_return std::optional<QByteArray>(output);
}
