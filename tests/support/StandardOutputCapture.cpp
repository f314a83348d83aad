#include "StandardOutputCapture.h"

#include <QFile>

#include <cstdio>
#include <unistd.h>

StandardOutputCapture::StandardOutputCapture()
{
    if (!m_file.open()) {
        return;
    }
    std::fflush(stdout);
    m_saved = ::dup(STDOUT_FILENO);
    if (m_saved >= 0 && ::dup2(m_file.handle(), STDOUT_FILENO) < 0) {
        ::close(m_saved);
        m_saved = -1;
    }
}

StandardOutputCapture::~StandardOutputCapture()
{
    stop();
}

QByteArray StandardOutputCapture::stop()
{
    if (m_saved < 0) {
        return {};
    }
    std::fflush(stdout);
    ::dup2(m_saved, STDOUT_FILENO);
    ::close(m_saved);
    m_saved = -1;
    // Read through a handle of its own: standard output moved the shared file offset.
    QFile written(m_file.fileName());
    return written.open(QIODevice::ReadOnly) ? written.readAll() : QByteArray();
}
