#pragma once

#include "platform/PerformanceHud.h"

#include <QList>

/// The HUD switch in memory; writes can be made to fail.
class FakePerformanceHud final : public platform::PerformanceHud {
public:
    std::optional<QString> stored;
    bool writable = true;
    QList<bool> writes;
    QString missing; ///< the overlay's absence, as the system would explain it

    std::optional<QString> storedValue() override { return stored; }
    bool write(bool enable) override
    {
        writes.append(enable);
        if (writable) {
            stored = enable ? QStringLiteral("1") : QStringLiteral("0");
        }
        return writable;
    }
    QString unavailableReason() override { return missing; }
};
