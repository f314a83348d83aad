#pragma once

#include <QtGlobal>

#include <optional>

namespace platform {

/// Where an entry lives: its device and, where the kernel tells it, its mount id. Bind mounts of
/// one file system share a device but not a mount id, and rename() fails between them.
struct MountKey {
    quint64 device = 0;
    quint64 mountId = 0;
    bool operator==(const MountKey &) const = default;

    /// The mount of the entry NAME in the open folder FOLDER, links not followed.
    [[nodiscard]] static std::optional<MountKey> at(int folder, const char *name, int flags = 0);
    /// The mount an open file or folder lies on.
    [[nodiscard]] static std::optional<MountKey> of(int fd);
};

} // namespace platform
