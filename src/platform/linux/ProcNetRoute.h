#pragma once

#include <QByteArray>
#include <QString>

namespace platform {

/// Reads the kernel's IPv4 routing table (/proc/net/route).
class ProcNetRoute {
public:
    /// The interface of the first default route (destination and mask 0), or empty.
    [[nodiscard]] static QString defaultInterface(const QByteArray &table);
};

} // namespace platform
