#pragma once

#include <QString>

#include <memory>

namespace platform {

/// Moves files and folders to the user's Trash, from where the desktop's file manager can
/// restore them. Never deletes anything outright.
class Trash {
public:
    struct Result {
        bool moved = false;
        QString error;       ///< one line, when not moved
        QString trashedPath; ///< where the item now lies, when moved
    };

    virtual ~Trash() = default;

    /// The user's own Trash on this system.
    [[nodiscard]] static std::unique_ptr<Trash> create();

    /// Moves the item at an absolute path (a symbolic link as the link itself) to the Trash.
    virtual Result moveToTrash(const QString &path) = 0;

protected:
    Trash() = default;
    Trash(const Trash &) = default;
    Trash &operator=(const Trash &) = default;
};

} // namespace platform
