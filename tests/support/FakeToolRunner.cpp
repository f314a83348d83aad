#include "FakeToolRunner.h"

#include <QThread>

void FakeToolRunner::setKibibytes(const QString &path, qint64 kibibytes)
{
    const QMutexLocker lock(&m_mutex);
    m_sizes.insert(path, kibibytes);
}

QStringList FakeToolRunner::measuredPaths() const
{
    const QMutexLocker lock(&m_mutex);
    return m_measured;
}

QCoro::Task<platform::ToolResult> FakeToolRunner::run(platform::ToolRequest request)
{
    if (m_delay.count() > 0) {
        QThread::msleep(static_cast<unsigned long>(m_delay.count()));
    }
    platform::ToolResult result;
    if (m_missing) {
        co_return result;
    }
    const QString path = request.arguments.value(2);
    if (m_onRun) {
        m_onRun(path);
    }
    qint64 kibibytes = 0;
    {
        const QMutexLocker lock(&m_mutex);
        m_measured.append(path);
        kibibytes = m_sizes.value(path, 0);
    }
    result.outcome = platform::ToolResult::Outcome::Finished;
    result.exitCode = 0;
    result.standardOutput = QByteArray::number(kibibytes) + '\t' + path.toUtf8() + '\n';
    co_return result;
}
