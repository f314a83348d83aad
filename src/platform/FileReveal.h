#pragma once

#include <QString>

#include <memory>

namespace platform {

/// Shows an item selected in the desktop's file manager.
class FileReveal {
public:
    virtual ~FileReveal() = default;

    /// The desktop's file manager on this system.
    [[nodiscard]] static std::unique_ptr<FileReveal> create();

    /// Returns false when neither the file manager nor a folder window could be asked.
    virtual bool reveal(const QString &path) = 0;

protected:
    FileReveal() = default;
    FileReveal(const FileReveal &) = default;
    FileReveal &operator=(const FileReveal &) = default;
};

} // namespace platform
