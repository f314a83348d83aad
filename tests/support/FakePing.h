#pragma once

#include "platform/Ping.h"

#include <QObject>
#include <QStringList>

/// A ping whose output the test chooses, answered at once or held until release().
class FakePing final : public QObject, public platform::Ping {
    Q_OBJECT

public:
    std::optional<QByteArray> output;
    bool holdReplies = false;
    QStringList hosts;
    int inFlight = 0;

    QCoro::Task<std::optional<QByteArray>> echoOnce(QString host) override;
    /// Lets every held echo finish with the current output.
    void release() { Q_EMIT released(); }

Q_SIGNALS:
    void released();
};
