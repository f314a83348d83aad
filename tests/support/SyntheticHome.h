#pragma once

#include "cleaner/ScanRoots.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QTemporaryDir>

/// A temporary folder holding a synthetic home ("home"), the temporary folder the scanner is
/// told about ("tmp") and a folder outside both ("outside"). Files are sparse: their sizes cost
/// no disk space.
class SyntheticHome {
public:
    SyntheticHome();

    [[nodiscard]] bool isValid() const { return m_root.isValid(); }
    [[nodiscard]] QString root() const { return m_root.path(); }
    [[nodiscard]] QString home() const { return m_root.path() + u"/home"; }
    [[nodiscard]] QString tempDir() const { return m_root.path() + u"/tmp"; }
    [[nodiscard]] QString outside() const { return m_root.path() + u"/outside"; }
    /// The scanner's folders for this home: .cache, .local/state, Downloads, tmp/.
    [[nodiscard]] ScanRoots roots() const { return ScanRoots::forHome(home(), tempDir()); }

    /// home + "/" + relative.
    [[nodiscard]] QString path(const QString &relative) const { return home() + u'/' + relative; }

    /// A sparse file of this size and modification time made with the command-line tools, as a
    /// person would: `truncate -s SIZE` and `touch -d @SECONDS`. Parent folders are created.
    static bool makeFile(const QString &path, qint64 size, const QDateTime &modified);
    /// The same with system calls (truncate, utimensat), for trees of thousands of files.
    static bool makeFileQuickly(const QString &path, qint64 size, const QDateTime &modified);
    /// A file with these bytes.
    static bool writeFile(const QString &path, const QByteArray &bytes);
    static bool makeFolder(const QString &path);
    static bool makeLink(const QString &target, const QString &link);

private:
    QTemporaryDir m_root;
};
