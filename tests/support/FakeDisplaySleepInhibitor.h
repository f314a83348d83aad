#pragma once

#include "platform/DisplaySleepInhibitor.h"

/// An inhibition that is granted, or refused with a reason, as the test says.
class FakeDisplaySleepInhibitor final : public platform::DisplaySleepInhibitor {
public:
    QString refusal; ///< empty: granted
    int inhibits = 0;
    int releases = 0;
    bool held = false;

    QCoro::Task<QString> inhibit() override
    {
        ++inhibits;
        held = refusal.isEmpty();
        co_return QString(refusal);
    }
    QCoro::Task<> release() override
    {
        if (held) {
            ++releases;
        }
        held = false;
        co_return;
    }
    bool isHeld() const override { return held; }
};
