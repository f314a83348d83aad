#pragma once

#include <QCoro/QCoroTask>

#include <memory>

namespace platform {

class ToolRunner;

/// The default sound output's mute switch.
class AudioOutput {
public:
    virtual ~AudioOutput() = default;

    /// Mutes or unmutes; completes with whether the sound system took the request.
    virtual QCoro::Task<bool> setMuted(bool muted) = 0;

    static std::unique_ptr<AudioOutput> create(ToolRunner &runner);

protected:
    AudioOutput() = default;
    AudioOutput(const AudioOutput &) = default;
    AudioOutput &operator=(const AudioOutput &) = default;
};

} // namespace platform
