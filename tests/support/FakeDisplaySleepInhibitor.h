#pragma once

#include "platform/DisplaySleepInhibitor.h"

#include <QCoro/QCoroSignal>
#include <QObject>

/// An inhibition that is granted, or refused with a reason, as the test says: at once, or when
/// answer() is called (a desktop slow to reply). Like the session's own, a request made while
/// one is on its way joins it, and a release meanwhile gives back what the answer brings.
class FakeDisplaySleepInhibitor final : public QObject, public platform::DisplaySleepInhibitor {
    Q_OBJECT

public:
    QString refusal; ///< empty: granted
    int inhibits = 0;
    int releases = 0;
    bool held = false;
    bool late = false; ///< requests wait for answer()

    QCoro::Task<QString> inhibit() override
    {
        if (m_asking) {
            m_releaseWhenHeld = false;
            co_return QString();
        }
        ++inhibits;
        if (late) {
            m_asking = true;
            co_await qCoro(this, &FakeDisplaySleepInhibitor::answered);
            m_asking = false;
        }
        held = refusal.isEmpty();
        if (std::exchange(m_releaseWhenHeld, false) && held) {
            co_await release();
        }
        co_return QString(refusal);
    }
    QCoro::Task<> release() override
    {
        if (m_asking) {
            m_releaseWhenHeld = true;
        }
        if (held) {
            ++releases;
        }
        held = false;
        co_return;
    }
    bool isHeld() const override { return held; }

    void answer() { Q_EMIT answered(); }

Q_SIGNALS:
    void answered();

private:
    bool m_asking = false;
    bool m_releaseWhenHeld = false;
};
