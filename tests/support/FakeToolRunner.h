#pragma once

#include "platform/ToolRunner.h"

#include <QHash>
#include <QMutex>
#include <QStringList>

#include <chrono>
#include <functional>

/// Answers `du -sk -- PATH` from a table, on whatever thread calls it, and notes every request.
class FakeToolRunner final : public platform::ToolRunner {
public:
    /// The size du reports for a path, in kibibytes.
    void setKibibytes(const QString &path, qint64 kibibytes);
    /// Every request fails to start, as when du is missing.
    void setMissing(bool missing) { m_missing = missing; }
    /// Each request takes this long (on the calling thread).
    void setDelay(std::chrono::milliseconds delay) { m_delay = delay; }
    /// Called with the path of each request before it is answered (on the calling thread).
    void setOnRun(std::function<void(const QString &)> onRun) { m_onRun = std::move(onRun); }

    QCoro::Task<platform::ToolResult> run(platform::ToolRequest request) override;

    /// The path argument of every du request so far.
    [[nodiscard]] QStringList measuredPaths() const;

private:
    mutable QMutex m_mutex;
    QHash<QString, qint64> m_sizes;
    QStringList m_measured;
    bool m_missing = false;
    std::chrono::milliseconds m_delay{0};
    std::function<void(const QString &)> m_onRun;
};
