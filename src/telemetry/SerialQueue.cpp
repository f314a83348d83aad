#include "SerialQueue.h"

SerialQueue::SerialQueue(const QString &label, QThread::Priority priority)
    : m_context(new QObject)
{
    m_thread.setObjectName(label);
    m_context->moveToThread(&m_thread);
    QObject::connect(&m_thread, &QThread::finished, m_context, &QObject::deleteLater);
    m_thread.start(priority);
}

SerialQueue::~SerialQueue()
{
    m_thread.quit();
    m_thread.wait();
}

void SerialQueue::adopt(QObject *object)
{
    object->moveToThread(&m_thread);
    QObject::connect(&m_thread, &QThread::finished, object, &QObject::deleteLater);
}
