#pragma once

#include <QCoro/QCoroTask>
#include <QSize>
#include <QString>

#include <memory>
#include <optional>

namespace platform {

class ToolRunner;

/// The main display's mode.
class DisplayResolution {
public:
    /// The current mode, or nothing with the reason when it could not be read.
    struct Query {
        std::optional<QSize> size;
        QString error;
    };

    virtual ~DisplayResolution() = default;

    virtual QCoro::Task<Query> current() = 0;
    /// Switches the main display to the mode; completes with whether it now shows it.
    virtual QCoro::Task<bool> change(QSize size) = 0;

    static std::unique_ptr<DisplayResolution> create(ToolRunner &runner);

protected:
    DisplayResolution() = default;
    DisplayResolution(const DisplayResolution &) = default;
    DisplayResolution &operator=(const DisplayResolution &) = default;
};

} // namespace platform
