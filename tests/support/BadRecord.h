#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

/// Puts something other than a well-formed record where a JSON record is expected, for the
/// tests of every reader: each kind must read as "no record" and must neither crash nor block.
class BadRecord {
public:
    /// The names of the kinds plant() knows, for data-driven tests.
    [[nodiscard]] static QStringList kinds();

    /// Creates the kind of bad record at path. Returns false when it cannot be made here.
    static bool plant(const QString &path, const QString &kind);

    /// True when this process cannot be kept out by permissions, so the "no permission" kind
    /// reads as a good record and says nothing about the reader.
    [[nodiscard]] static bool permissionsDoNotApply();
};
