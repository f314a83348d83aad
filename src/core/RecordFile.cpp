#include "RecordFile.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>

std::optional<QByteArray> RecordFile::read(const QString &path)
{
    // Checking the kind first keeps a pipe or device in the record's place from blocking us.
    const QFileInfo info(path);
    if (!info.isFile() || info.size() > maximumSize) {
        return std::nullopt;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    QByteArray bytes = file.read(maximumSize + 1);
    if (file.error() != QFileDevice::NoError || bytes.size() > maximumSize) {
        return std::nullopt;
    }
    return bytes;
}

bool RecordFile::write(const QString &path, const QByteArray &bytes)
{
    // Opening a pipe for writing would wait for a reader; only a regular file is replaced.
    const QFileInfo info(path);
    if (info.exists() && !info.isFile()) {
        return false;
    }
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        return false;
    }
    const bool written = file.write(bytes) == bytes.size();
    file.close();
    return written && file.error() == QFileDevice::NoError;
}

QString RecordFile::pathIn(const QString &folder, QStringView fileName)
{
    return folder + u'/' + fileName;
}

std::optional<QJsonObject> RecordFile::parseObject(const QByteArray &json)
{
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        return std::nullopt;
    }
    return document.object();
}
