#pragma once

#include <QtGlobal>

namespace platform {

/// Which file an entry is: its device and inode. A path names whatever lies there now; the
/// identity names what was seen, so a removal can tell that it still acts on the same file.
struct FileIdentity {
    quint64 device = 0;
    quint64 inode = 0;

    [[nodiscard]] bool isValid() const { return inode != 0; }
    bool operator==(const FileIdentity &) const = default;
};

} // namespace platform
