#include "MountKey.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace platform {

std::optional<MountKey> MountKey::at(int folder, const char *name, int flags)
{
    struct statx info {};
    if (::statx(folder, name, flags | AT_SYMLINK_NOFOLLOW, STATX_MNT_ID, &info) != 0) {
        return std::nullopt;
    }
    MountKey key;
    key.device = makedev(info.stx_dev_major, info.stx_dev_minor);
    if (info.stx_mask & STATX_MNT_ID) {
        key.mountId = info.stx_mnt_id;
    }
    return key;
}

std::optional<MountKey> MountKey::of(int fd)
{
    return at(fd, "", AT_EMPTY_PATH);
}

} // namespace platform
