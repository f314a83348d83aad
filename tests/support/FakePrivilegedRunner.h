#pragma once

#include "platform/PrivilegedRunner.h"

#include <QCoro/QCoroSignal>
#include <QList>
#include <QObject>

#include <functional>

/// Elevation that records each action and answers as the test decides: at once, or held until
/// release() (a password dialog left open). Counts its starts: each run() is one, and so is each
/// runSteps() with steps to run, however many it holds.
class FakePrivilegedRunner final : public QObject, public platform::PrivilegedRunner {
    Q_OBJECT

public:
    QList<QStringList> calls; ///< verb first, then the arguments
    std::function<platform::PrivilegedOutcome(const QStringList &)> answer =
        [](const QStringList &) {
            return platform::PrivilegedOutcome{true, {}};
        };
    bool hold = false;
    /// How many times the helper was started (each start may show the password dialog).
    int starts = 0;

    QCoro::Task<platform::PrivilegedOutcome> run(QString verb, QStringList arguments) override
    {
        const QStringList call = QStringList{verb} + arguments;
        calls.append(call);
        ++starts;
        if (hold) {
            co_await qCoro(this, &FakePrivilegedRunner::released);
        }
        co_return answer(call);
    }

    QCoro::Task<QList<platform::PrivilegedOutcome>>
    runSteps(QList<platform::PrivilegedStep> steps) override
    {
        QList<platform::PrivilegedOutcome> outcomes;
        if (steps.isEmpty()) {
            co_return outcomes;
        }
        ++starts;
        if (hold) {
            co_await qCoro(this, &FakePrivilegedRunner::released);
        }
        for (const platform::PrivilegedStep &step : std::as_const(steps)) {
            // A step tied to a failed one never reaches the helper's action.
            if (step.onlyAfterSuccess && !outcomes.isEmpty() && !outcomes.constLast().success) {
                outcomes.append(platform::PrivilegedOutcome{false, skippedText});
                continue;
            }
            const QStringList call = QStringList{step.verb} + step.arguments;
            calls.append(call);
            outcomes.append(answer(call));
        }
        co_return outcomes;
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
