#pragma once

#include <QMetaType>

/// One memory sample, sizes in GiB (2^30 bytes). Only active, wired and compressed memory
/// count as used; inactive and free memory do not.
struct RAMStats {
    Q_GADGET
    Q_PROPERTY(double total MEMBER total CONSTANT)
    Q_PROPERTY(double used MEMBER used CONSTANT)
    Q_PROPERTY(double available MEMBER available CONSTANT)
    Q_PROPERTY(double percent MEMBER percent CONSTANT)
    Q_PROPERTY(double active MEMBER active CONSTANT)
    Q_PROPERTY(double wired MEMBER wired CONSTANT)
    Q_PROPERTY(double compressed MEMBER compressed CONSTANT)

public:
    double total = 0;
    double used = 0;      ///< active + wired + compressed
    double available = 0; ///< total − used
    double percent = 0;   ///< used ÷ total × 100
    double active = 0;
    double wired = 0;
    double compressed = 0;

    friend bool operator==(const RAMStats &, const RAMStats &) = default;
};
