#pragma once

#include <QObject>

#include <chrono>

namespace platform {

/// A repeating or one-shot timer whose clock may be real or driven by a test.
class Timer : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;
    ~Timer() override = default;

    virtual void start(std::chrono::milliseconds interval) = 0;
    virtual void stop() = 0;
    [[nodiscard]] virtual bool isActive() const = 0;
    virtual void setSingleShot(bool singleShot) = 0;

Q_SIGNALS:
    void timeout();
};

} // namespace platform
