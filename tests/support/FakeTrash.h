#pragma once

#include "platform/FileReveal.h"
#include "platform/Trash.h"

#include <QFile>
#include <QList>
#include <QStringList>

/// Notes the items it is asked to move and refuses those it was told are locked.
class FakeTrash final : public platform::Trash {
public:
    QStringList locked;
    QStringList withoutTrash; ///< paths on a file system with no Trash for this user
    QStringList moved;        ///< each moved item's path, decoded for display
    QList<Item> movedItems;   ///< each moved item as asked, with its bytes and identity

    using Trash::moveToTrash;
    Result moveToTrash(const Item &item) override
    {
        const QString path = QFile::decodeName(item.path);
        Result result;
        if (locked.contains(path)) {
            result.error = u"cannot move " + path + u" to the trash: Operation not permitted";
            return result;
        }
        if (withoutTrash.contains(path)) {
            result.error = u"cannot move " + path + u" to the trash: cannot create /.Trash-1000";
            result.noTrashHere = true;
            return result;
        }
        moved.append(path);
        movedItems.append(item);
        result.moved = true;
        result.trashedPath = path;
        return result;
    }
};

/// Notes the paths it is asked to reveal.
class FakeReveal final : public platform::FileReveal {
public:
    QStringList revealed;

    bool reveal(const QString &path) override
    {
        revealed.append(path);
        return true;
    }
};
