#include "ActionQueue.h"

#include <QPointer>

ActionQueue::ActionQueue(QObject *parent)
    : QObject(parent)
{
}

void ActionQueue::enqueue(Action action)
{
    m_waiting.push_back(std::move(action));
    if (!m_busy) {
        m_busy = true;
        Q_EMIT busyChanged();
        drain();
    }
}

QCoro::Task<> ActionQueue::drain()
{
    const QPointer<ActionQueue> self(this);
    while (!m_waiting.empty()) {
        // Taken out first: the action may ask for another one while it runs.
        const Action action = std::move(m_waiting.front());
        m_waiting.pop_front();
        co_await action();
        if (!self) {
            co_return;
        }
    }
    m_busy = false;
    Q_EMIT busyChanged();
}
