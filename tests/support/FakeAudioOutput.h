#pragma once

#include "platform/AudioOutput.h"

#include <QList>

/// Records mute requests; the sound system takes them or not, as the test says.
class FakeAudioOutput final : public platform::AudioOutput {
public:
    QList<bool> requests;
    bool accepts = true;

    QCoro::Task<bool> setMuted(bool muted) override
    {
        requests.append(muted);
        co_return accepts;
    }
};
