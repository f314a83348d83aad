#pragma once

#include "platform/FileIdentity.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <QVariantList>
#include <QVariantMap>

/// One listed file, folder or application of the disk scan.
struct FileItem {
    QUuid id = QUuid::createUuid(); ///< fresh for every item made
    QString name;                   ///< display name
    QString path;                   ///< absolute path
    qint64 size = 0;                ///< bytes
    QString sizeFormatted;          ///< size in the format of formatSize()
    QString type;               ///< "app", "file", "folder", "video", "image", "cache", "cleanup"
    double daysSinceAccess = 0; ///< days since the modification date; 0 for apps and folders
    QStringList reasons;        ///< why it is recommended; empty in the heavy lists
    bool recommended = false;   ///< false in the heavy lists
    /// The path in the file system's own bytes, links resolved: what removal acts on. A name
    /// that is not valid UTF-8 shows U+FFFD in path and name but keeps its bytes here.
    QByteArray nativePath;
    platform::FileIdentity identity; ///< the file the scan saw; removal refuses any other

    /// The item as the screens read it: a map of the fields above, the id as text.
    [[nodiscard]] QVariantMap toVariantMap() const;
    [[nodiscard]] static QVariantList toVariantList(const QList<FileItem> &items);
};
