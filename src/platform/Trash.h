#pragma once

#include "FileIdentity.h"

#include <QByteArray>
#include <QFile>
#include <QString>

#include <memory>

namespace platform {

/// Moves files and folders to the user's Trash, from where the desktop's file manager can
/// restore them. Never deletes anything outright.
class Trash {
public:
    /// What to move: the path in the file system's own bytes (a name need not be valid UTF-8)
    /// and, when the item was seen before, which file it was then.
    struct Item {
        QByteArray path;
        FileIdentity identity; ///< when valid, anything else found at path is refused
    };

    struct Result {
        bool moved = false;
        QString error;       ///< one line, when not moved
        QString trashedPath; ///< where the item now lies, when moved
        /// Not moved because no Trash this user may use exists or can be made on the item's
        /// file system (a top folder only root may write, a read-only file system).
        bool noTrashHere = false;
    };

    virtual ~Trash() = default;

    /// The user's own Trash on this system.
    [[nodiscard]] static std::unique_ptr<Trash> create();

    /// Moves the item (a symbolic link as the link itself) to the Trash. Only an item of this
    /// user, reached without following a link on its way, is moved.
    virtual Result moveToTrash(const Item &item) = 0;
    /// The same for an absolute path in text, whatever file lies there now.
    Result moveToTrash(const QString &path)
    {
        return moveToTrash(Item{QFile::encodeName(path), {}});
    }

protected:
    Trash() = default;
    Trash(const Trash &) = default;
    Trash &operator=(const Trash &) = default;
};

} // namespace platform
