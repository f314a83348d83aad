#pragma once

#include "platform/Trash.h"

#include <QByteArray>
#include <QString>

#include <sys/types.h>

namespace platform {

/// The freedesktop.org Trash specification (version 1.0): items on the home folder's file system
/// go to $XDG_DATA_HOME/Trash, created when missing; items on another mount go to that mount's
/// $topdir/.Trash/$uid when $topdir/.Trash is a real folder of root's with the sticky bit, else
/// to $topdir/.Trash-$uid. The item is reached through its parent folder opened without
/// following links, and must be this user's (and, when given, the very file that was seen).
/// The ".trashinfo" record is created first, exclusively, which reserves the name, and synced
/// with its folder; only then is the item renamed into "files"; a folder gets its line in
/// "directorysizes". A failure at any step leaves the item where it was and removes the
/// half-made record. Qt's QFile::moveToTrash is not used: Qt 6.4 writes
/// unencoded paths and, with ~/.local/share missing, "trashes" into the working directory.
class FreedesktopTrash final : public Trash {
public:
    /// dataHome is $XDG_DATA_HOME (absolute); uid names the per-mount trash folders.
    explicit FreedesktopTrash(QString dataHome, uid_t uid);
    /// This process's data home and user.
    FreedesktopTrash();

    using Trash::moveToTrash;
    Result moveToTrash(const Item &item) override;

    /// The "Path=" value: every byte but the unreserved ones and "/" percent-encoded.
    [[nodiscard]] static QByteArray encodePath(const QByteArray &path);

    /// How much of an existing "directorysizes" cache is read: a planted huge file costs no
    /// more, and the lines past it are only a cache the file manager computes again.
    static constexpr qsizetype maximumDirectorySizesBytes = 1024 * 1024;
    /// The lines of a "directorysizes" cache (at most its first maximumDirectorySizesBytes) to
    /// keep when encodedName gets a line of its own: every well-formed line of another name.
    [[nodiscard]] static QByteArray keptDirectorySizes(const QByteArray &contents,
                                                       const QByteArray &encodedName);

private:
    QString m_dataHome;
    uid_t m_uid;
};

} // namespace platform
