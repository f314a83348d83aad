#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringView>

#include <optional>

/// Reads and writes the small JSON records of the application folder. Every failure is quiet:
/// a record that cannot be read is absent, and a write that fails only returns false.
class RecordFile {
public:
    RecordFile() = delete;

    /// Our records are a few dozen bytes; anything larger is not one of them and is not read.
    static constexpr qint64 maximumSize = 64 * 1024;

    /// The whole contents of a regular file, or nothing when it is missing, not a regular file
    /// (a folder, a pipe), larger than maximumSize, or unreadable.
    [[nodiscard]] static std::optional<QByteArray> read(const QString &path);

    /// Replaces the file whole: the bytes go in one write into a new file beside it, which takes
    /// the record's name only once it is complete and synced, so a crash, a full disk or a failed
    /// write leave the previous record as it was. Nothing is written where the path names anything
    /// but a regular file or nothing (a folder, a pipe, a symbolic link), nor where the file or
    /// its folder may not be written. Returns false on any failure.
    static bool write(const QString &path, const QByteArray &bytes);

    /// The top-level object of a JSON text, or nothing for malformed JSON or another top level.
    [[nodiscard]] static std::optional<QJsonObject> parseObject(const QByteArray &json);

    [[nodiscard]] static QString pathIn(const QString &folder, QStringView fileName);

    /// Reads and decodes Record::fileName in the folder.
    template <typename Record>
    [[nodiscard]] static std::optional<Record> load(const QString &folder)
    {
        const std::optional<QByteArray> bytes = read(pathIn(folder, Record::fileName));
        return bytes ? Record::decode(*bytes) : std::nullopt;
    }

    /// Encodes the record and writes it to Record::fileName in the folder.
    template <typename Record>
    static bool save(const QString &folder, const Record &record)
    {
        return write(pathIn(folder, Record::fileName), record.encode());
    }
};
