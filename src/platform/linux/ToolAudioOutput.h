#pragma once

#include "platform/AudioOutput.h"
#include "platform/ToolRunner.h"

#include <QList>

namespace platform {

/// Mutes the default output with the first sound tool that takes the request: PulseAudio's
/// pactl (also PipeWire's Pulse server), WirePlumber's wpctl, then ALSA's amixer.
class ToolAudioOutput final : public AudioOutput {
public:
    explicit ToolAudioOutput(ToolRunner &runner);

    QCoro::Task<bool> setMuted(bool muted) override;

    /// The commands tried, in order.
    [[nodiscard]] static QList<ToolRequest> requestsFor(bool muted);

private:
    ToolRunner &m_runner;
};

} // namespace platform
