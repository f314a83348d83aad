#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

namespace platform {

/// Reads the user-dirs.dirs file that xdg-user-dirs writes into the configuration folder.
class XdgUserDirs {
public:
    /// Maps each "XDG_<NAME>_DIR" key to its folder. Values are "$HOME/..." or absolute paths;
    /// anything else is ignored, as xdg-user-dirs itself does.
    [[nodiscard]] static QHash<QString, QString> parse(const QByteArray &content,
                                                       const QString &home);
};

} // namespace platform
