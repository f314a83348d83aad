#pragma once

#include <QMetaObject>
#include <QObject>
#include <QThread>

/// A named worker thread with its own event loop that runs posted work in order: the Qt
/// counterpart of a serial dispatch queue. Objects handed to adopt() live on it and are deleted
/// on it when the queue is destroyed, which stops the thread and waits for it.
class SerialQueue {
public:
    SerialQueue(const QString &label, QThread::Priority priority);
    ~SerialQueue();
    SerialQueue(const SerialQueue &) = delete;
    SerialQueue &operator=(const SerialQueue &) = delete;

    [[nodiscard]] QString label() const { return m_thread.objectName(); }
    [[nodiscard]] QThread *thread() { return &m_thread; }
    /// An object living on the queue; work posted to it runs there.
    [[nodiscard]] QObject *context() const { return m_context; }

    /// Moves a parentless object onto the queue; the queue deletes it on its own thread.
    void adopt(QObject *object);

    /// Runs the callable on the queue, after everything posted before it.
    template <typename Function>
    void post(Function &&function)
    {
        QMetaObject::invokeMethod(m_context, std::forward<Function>(function),
                                  Qt::QueuedConnection);
    }

private:
    QThread m_thread;
    QObject *m_context;
};
