#pragma once

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace platform {

/// The installed applications' desktop entries, for naming a window by its class.
class DesktopEntryIndex {
public:
    struct Entry {
        QString id;   ///< the desktop file id without ".desktop" ("org.example.Game")
        QString name; ///< its untranslated Name
        QString startupWMClass;
    };

    /// The folders holding desktop entries, earlier ones first (as the XDG rules order them).
    explicit DesktopEntryIndex(QStringList applicationFolders = {});

    /// The usual folders: the user's, each system data folder's, and Flatpak's exports.
    [[nodiscard]] static QStringList
    standardFolders(const QString &dataHome, const QStringList &dataDirs, const QString &home);

    /// The entry for a window class: the instance as StartupWMClass, the class as
    /// StartupWMClass, then "instance.desktop" and "class.desktop" (each as written, then in
    /// lower case). Entries marked NoDisplay or Hidden are skipped.
    [[nodiscard]] std::optional<Entry> lookup(const QString &instance, const QString &windowClass);

    /// Reads one desktop entry file; nothing when it is not one or may not be shown.
    [[nodiscard]] static std::optional<Entry> parse(const QByteArray &content, const QString &id);

private:
    void refreshIfChanged();

    QStringList m_folders;
    QList<QDateTime> m_stamps;
    bool m_loaded = false;
    QHash<QString, Entry> m_byId;
    QHash<QString, QString> m_idByWMClass;
};

} // namespace platform
