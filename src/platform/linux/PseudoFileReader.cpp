#include "PseudoFileReader.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace platform {

namespace {

constexpr qsizetype firstBufferBytes = 16384;

bool isKernelPseudoFile(int fd)
{
    struct statfs fileSystem {};
    return ::fstatfs(fd, &fileSystem) == 0 &&
           (fileSystem.f_type == PROC_SUPER_MAGIC || fileSystem.f_type == SYSFS_MAGIC);
}

} // namespace

PseudoFileReader::PseudoFileReader(QString path, qsizetype maximumBytes)
    : m_path(QFile::encodeName(path))
    , m_maximumBytes(std::max<qsizetype>(maximumBytes, 1))
{
}

PseudoFileReader::~PseudoFileReader()
{
    if (m_fd >= 0) {
        ::close(m_fd);
    }
}

std::optional<QByteArrayView> PseudoFileReader::read()
{
    if (m_fd >= 0) {
        if (readWhole(m_fd)) {
            return QByteArrayView(m_buffer.constData(), m_size);
        }
        // The file went away under the open descriptor (a removed device): look it up again.
        ::close(m_fd);
        m_fd = -1;
    }
    const int fd = ::open(m_path.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (fd < 0) {
        return std::nullopt;
    }
    struct stat status {};
    const bool read = ::fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && readWhole(fd);
    if (read && isKernelPseudoFile(fd)) {
        m_fd = fd;
    } else {
        ::close(fd);
    }
    if (!read) {
        return std::nullopt;
    }
    return QByteArrayView(m_buffer.constData(), m_size);
}

bool PseudoFileReader::readWhole(int fd)
{
    // Reading from offset 0 makes the kernel generate the file anew.
    if (m_buffer.isEmpty()) {
        m_buffer.resize(std::min(firstBufferBytes, m_maximumBytes));
    }
    qsizetype size = 0;
    for (;;) {
        if (size == m_buffer.size()) {
            if (size >= m_maximumBytes) {
                break;
            }
            m_buffer.resize(std::min(2 * size, m_maximumBytes));
        }
        const ssize_t count =
            ::pread(fd, m_buffer.data() + size, size_t(m_buffer.size() - size), off_t(size));
        if (count < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        if (count == 0) {
            break;
        }
        size += qsizetype(count);
    }
    m_size = size;
    return true;
}

} // namespace platform
