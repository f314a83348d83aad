#include "PseudoFile.h"

#include <QFile>
#include <QFileInfo>

namespace platform {

std::optional<QByteArray> PseudoFile::read(const QString &path)
{
    // Only regular files: a pipe planted in a file's place would block the reader.
    if (!QFileInfo(path).isFile()) {
        return std::nullopt;
    }
    QFile file(path);
    // Unbuffered: read() then goes straight to the kernel, which fills each chunk in one call.
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        return std::nullopt;
    }
    QByteArray contents;
    char chunk[16384];
    while (contents.size() < maximumBytes) {
        const qint64 count = file.read(chunk, sizeof chunk);
        if (count < 0) {
            return std::nullopt;
        }
        if (count == 0) {
            break;
        }
        contents.append(chunk, count);
    }
    return contents;
}

} // namespace platform
