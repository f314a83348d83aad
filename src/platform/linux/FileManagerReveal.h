#pragma once

#include "platform/FileReveal.h"

#include <QUrl>

#include <functional>

namespace platform {

/// Asks the desktop's file manager through org.freedesktop.FileManager1.ShowItems on the session
/// bus; where no file manager answers, opens the item's parent folder instead.
class FileManagerReveal final : public FileReveal {
public:
    using FolderOpener = std::function<bool(const QUrl &)>;

    /// The session bus, and QDesktopServices (xdg-open) for the parent folder.
    FileManagerReveal();
    /// busName names a QDBusConnection to use; openFolder replaces QDesktopServices.
    FileManagerReveal(QString busName, FolderOpener openFolder);

    bool reveal(const QString &path) override;

private:
    QString m_busName;
    FolderOpener m_openFolder;
};

} // namespace platform
