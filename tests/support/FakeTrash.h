#pragma once

#include "platform/FileReveal.h"
#include "platform/Trash.h"

#include <QStringList>

/// Notes the paths it is asked to move and refuses those it was told are locked.
class FakeTrash final : public platform::Trash {
public:
    QStringList locked;
    QStringList moved;

    Result moveToTrash(const QString &path) override
    {
        Result result;
        if (locked.contains(path)) {
            result.error = u"cannot move " + path + u" to the trash: Operation not permitted";
            return result;
        }
        moved.append(path);
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
