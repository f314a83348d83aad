#include "FileItem.h"

QVariantMap FileItem::toVariantMap() const
{
    return {
        {QStringLiteral("id"), id.toString(QUuid::WithoutBraces)},
        {QStringLiteral("name"), name},
        {QStringLiteral("path"), path},
        {QStringLiteral("size"), double(size)},
        {QStringLiteral("sizeFormatted"), sizeFormatted},
        {QStringLiteral("type"), type},
        {QStringLiteral("daysSinceAccess"), daysSinceAccess},
        {QStringLiteral("reasons"), reasons},
        {QStringLiteral("recommended"), recommended},
    };
}

QVariantList FileItem::toVariantList(const QList<FileItem> &items)
{
    QVariantList list;
    list.reserve(items.size());
    for (const FileItem &item : items) {
        list.append(item.toVariantMap());
    }
    return list;
}
