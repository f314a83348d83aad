#include "RecordFile.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSaveFile>

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
    // Only a regular file is replaced: opening a pipe would wait for a reader. A symbolic link in
    // the record's place is left alone too: QSaveFile would follow it and write wherever it
    // points, and replacing the link would undo what whoever made it meant. The folder is the
    // user's own, so only someone who can already write there could put a link in the file's
    // place between this check and the open below.
    const QFileInfo info(path);
    if (info.isSymLink() || (info.exists() && !info.isFile())) {
        return false;
    }
    // QSaveFile refuses a file the user may not write, writes a new file beside it and renames it
    // over the record in commit(), after syncing it; until then the previous record is untouched.
    // Without its direct-write fallback, a folder it cannot create the new file in fails the
    // write. Unbuffered, the one write below reaches the file at once and its failure is seen
    // there: commit() checks only the errors of earlier writes, so with a buffer a failed flush
    // (a full disk) would still rename the truncated file over the record.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        return false;
    }
    // One write of the whole record; on a short one the new file is dropped and the previous
    // record stays.
    return file.write(bytes) == bytes.size() && file.commit();
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
