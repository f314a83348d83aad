#pragma once

#include "PseudoFile.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

namespace platform {

/// Reads one small /proc or /sys file over and over, as a monitor does every second. A kernel
/// pseudo-file is opened once and read from its start each time, which makes the kernel write it
/// afresh: no path lookup, no open and no close per read, and one buffer for every read. Any
/// other file (a test's fixture) is opened again for each read, so a file replaced in its place
/// is seen. Only regular files are read: a pipe in a file's place never blocks the reader.
class PseudoFileReader {
public:
    /// Reads `path`, at most `maximumBytes` of it.
    explicit PseudoFileReader(QString path, qsizetype maximumBytes = PseudoFile::maximumBytes);
    ~PseudoFileReader();
    PseudoFileReader(const PseudoFileReader &) = delete;
    PseudoFileReader &operator=(const PseudoFileReader &) = delete;

    /// The whole file as it is now (at most the maximum), or nothing when it cannot
    /// be opened or read. The view is valid until the next read.
    [[nodiscard]] std::optional<QByteArrayView> read();

    /// Whether the file stays open between reads (it is a kernel pseudo-file).
    [[nodiscard]] bool keepsOpen() const { return m_fd >= 0; }

private:
    bool readWhole(int fd);

    QByteArray m_path;
    qsizetype m_maximumBytes;
    int m_fd = -1;
    QByteArray m_buffer;
    qsizetype m_size = 0;
};

} // namespace platform
