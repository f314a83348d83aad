#pragma once

#include "platform/PrivilegedRunner.h"

#include <QCoro/QCoroSignal>
#include <QList>
#include <QObject>

#include <functional>

/// Elevation that records each action and answers as the test decides: at once, or held until
/// release() (a password dialog left open).
class FakePrivilegedRunner final : public QObject, public platform::PrivilegedRunner {
    Q_OBJECT

public:
    QList<QStringList> calls; ///< verb first, then the arguments
    std::function<platform::PrivilegedOutcome(const QStringList &)> answer =
        [](const QStringList &) {
            return platform::PrivilegedOutcome{true, {}};
        };
    bool hold = false;

    QCoro::Task<platform::PrivilegedOutcome> run(QString verb, QStringList arguments) override
    {
        const QStringList call = QStringList{verb} + arguments;
        calls.append(call);
        if (hold) {
            co_await qCoro(this, &FakePrivilegedRunner::released);
        }
        co_return answer(call);
    }

    void release() { Q_EMIT released(); }

    /// Every call cancelled at the password dialog.
    static platform::PrivilegedOutcome dismissed()
    {
        return {false, QStringLiteral("Request dismissed")};
    }

Q_SIGNALS:
    void released();
};
