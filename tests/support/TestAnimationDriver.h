#pragma once

#include <QAnimationDriver>
#include <QCoreApplication>

/// Puts Qt Quick's animations on a clock the test advances, so that a 0.2 s ease can be checked
/// at its midpoint without sleeping.
class TestAnimationDriver final : public QAnimationDriver {
    Q_OBJECT

public:
    TestAnimationDriver() { install(); }
    ~TestAnimationDriver() override { uninstall(); }

    [[nodiscard]] qint64 elapsed() const override { return m_elapsed; }

    /// Advances animation time by ms in steps of one 60 Hz frame, updating every animation.
    void step(qint64 ms)
    {
        // Animations started since the last step register on the next turn of the event loop.
        QCoreApplication::processEvents();
        constexpr qint64 frame = 16;
        for (qint64 done = 0; done < ms; done += frame) {
            m_elapsed += std::min(frame, ms - done);
            advance();
        }
    }

private:
    qint64 m_elapsed = 0;
};
