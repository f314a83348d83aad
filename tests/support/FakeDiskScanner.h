#pragma once

#include "cleaner/DiskScanner.h"

/// A scanner whose published values the test sets; a scan only notes that it was asked for.
class FakeDiskScanner final : public DiskScanner {
public:
    using DiskScanner::DiskScanner;
    using DiskScanner::setHeavyApps;
    using DiskScanner::setHeavyFolders;
    using DiskScanner::setHeavyMedia;
    using DiskScanner::setIsScanning;
    using DiskScanner::setRecommendations;
    using DiskScanner::setScanMessage;
    using DiskScanner::setScanProgress;

    int scans = 0;

    void scanDeepDisk() override
    {
        ++scans;
        setIsScanning(true);
    }
};
