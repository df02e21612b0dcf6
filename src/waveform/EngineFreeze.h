#pragma once

#include "capture/engine/Rewindle.h"
#include "waveform/CaptureFreeze.h"

namespace rewindle {

/// The engine's freeze: it takes effect in order with the engine's copies, so that no clip loses frames by it.
class EngineFreeze final : public CaptureFreeze {
public:
    explicit EngineFreeze(Rewindle& sampler) : sampler_(sampler) {}
    [[nodiscard]] bool isFrozen() const override { return sampler_.isFrozen().get(); }
    void setFrozen(bool frozen) override { sampler_.setFrozen(frozen); }

private:
    Rewindle& sampler_;
};

} // namespace rewindle
