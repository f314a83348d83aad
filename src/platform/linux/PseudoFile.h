#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace platform {

/// Reads the small text files of /proc and /sys, whose reported size is meaningless.
class PseudoFile {
public:
    /// Maximum number of bytes read; the kernel's reports are far smaller.
    static constexpr qsizetype maximumBytes = 1024 * 1024;

    /// The whole file, or nothing when it cannot be opened or read (a missing file, a folder,
    /// no permission).
    [[nodiscard]] static std::optional<QByteArray> read(const QString &path);
};

} // namespace platform
