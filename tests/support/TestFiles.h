#pragma once

#include <QByteArray>
#include <QString>

/// Whole-file reads and writes for tests that inspect or prepare the records on disk.
class TestFiles {
public:
    /// The file's bytes, or an empty array when it cannot be read.
    [[nodiscard]] static QByteArray read(const QString &path);
    /// Creates or replaces the file with these bytes.
    static bool write(const QString &path, const QByteArray &bytes);
};
