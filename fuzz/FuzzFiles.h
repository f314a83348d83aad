#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QList>
#include <QTemporaryDir>

/// The fuzz input cut into the contents of a few files, on NUL bytes; missing pieces are empty.
inline QList<QByteArray> fuzzPieces(const QByteArray &input, qsizetype count)
{
    QList<QByteArray> pieces = input.split('\0');
    pieces.resize(count);
    return pieces;
}

/// A scratch folder kept for the whole run, so each input costs only its writes.
inline QString fuzzFolder()
{
    static const QTemporaryDir folder;
    static const QString path = folder.path();
    return path;
}

/// Writes a file below the scratch folder, creating its folders; an empty piece removes it, so
/// a missing file is tried as well.
inline void fuzzWrite(const QString &relativePath, const QByteArray &contents)
{
    const QString path = fuzzFolder() + u'/' + relativePath;
    if (contents.isEmpty()) {
        QFile::remove(path);
        return;
    }
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        file.write(contents);
    }
}
