#pragma once

#include <QCoro/QCoroTask>
#include <QObject>

#include <deque>
#include <functional>

/// Runs one family of the optimizer's actions one at a time, in the order they were asked for.
///
/// The actions are asynchronous: a password dialog can stay open while the window goes on
/// taking clicks. An action asked for while another of its family runs waits for that one to
/// finish, so two of them never change the same things in turns (a disable between the steps of
/// an enable would leave processes reniced with Game Mode shown off). The screens show the busy
/// state, whichever view asked.
class ActionQueue : public QObject {
    Q_OBJECT

public:
    /// Starts the action and gives the task that ends with it.
    using Action = std::function<QCoro::Task<>()>;

    explicit ActionQueue(QObject *parent = nullptr);

    /// True from the moment an action is asked for until the last one waiting has finished.
    [[nodiscard]] bool isBusy() const { return m_busy; }
    /// Starts the action now when the family is idle, otherwise after those before it.
    void enqueue(Action action);

Q_SIGNALS:
    void busyChanged();

private:
    QCoro::Task<> drain();

    std::deque<Action> m_waiting;
    bool m_busy = false;
};
