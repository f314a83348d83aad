#include "FileManagerHelper.h"

#include "platform/SystemRoots.h"

#include <QDir>

QString FileManagerHelper::appSupportDir()
{
    // A function-local static is initialised exactly once, also under concurrent first use.
    static const QString folder = [] {
        const QString path = platform::SystemRoots::current().configHome + u'/' + folderName;
        QDir().mkpath(path);
        return path;
    }();
    return folder;
}
