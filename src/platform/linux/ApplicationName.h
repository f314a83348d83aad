#pragma once

#include <QString>

namespace platform {

/// The name shown for an application that no desktop entry names.
class ApplicationName {
public:
    /// A process's or window class's own name, without the ".exe" (in any case) of a Windows
    /// program run through Wine or Proton: "Witcher3.exe" reads "Witcher3". A name that is
    /// only the suffix is kept as it is.
    [[nodiscard]] static QString fromProgram(const QString &name);
};

} // namespace platform
