#pragma once

#include "ScanRoots.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

/// The installed applications: Flatpak apps, snaps, AppImages and Steam games, each with the name
/// its desktop entry or manifest gives.
class ApplicationFinder {
public:
    struct Candidate {
        QString name;
        QString path;
        QString measuredPath; ///< what du measures, when not path itself
    };

    /// Every application of the roots, unmeasured, in root order; unreadable roots add nothing.
    [[nodiscard]] static QList<Candidate> candidates(const ScanRoots &roots);
    /// The Steam libraries: each Steam root that exists and the paths its libraryfolders.vdf
    /// lists, as written and as resolved, without duplicates.
    [[nodiscard]] static QStringList steamLibraries(const ScanRoots &roots);

    /// The folder of a snap's current revision (its "current" link, a name in the snap's own
    /// folder), or empty when it has none: the other mounted revisions are not the app's size.
    [[nodiscard]] static QString snapCurrentRevision(const QString &snapFolder);
    /// The Name of a desktop entry's [Desktop Entry] group, or empty.
    [[nodiscard]] static QString desktopEntryName(const QByteArray &text);
};
