#pragma once

#include <QString>

/// Owns the location of the application folder that holds the program's JSON records.
class FileManagerHelper {
public:
    FileManagerHelper() = delete;

    /// The application folder, resolved and created (if missing) on first use only; later calls
    /// return the same path without touching the disk. A folder that cannot be created is not an
    /// error: reads then find nothing and writes fail quietly.
    [[nodiscard]] static QString appSupportDir();

    /// The folder name appended to the platform's per-user configuration folder.
    static constexpr QStringView folderName = u"Kestrelvanta";
};
