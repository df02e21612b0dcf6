#pragma once

#include "waveform/AuditionControl.h"
#include "waveform/ClipOutlets.h"

namespace rewindle {

/// An audition on a computer that nothing can be played on: it never plays.
class SilentAudition final : public AuditionControl {
public:
    [[nodiscard]] bool isPlaying() const override { return false; }
    [[nodiscard]] std::optional<double> currentPlaybackFrame() const override { return std::nullopt; }
    void play(const std::shared_ptr<AudioRingBuffer>&, std::int64_t, std::int64_t, float) override {}
    void stop(const std::shared_ptr<AudioRingBuffer>&) override {}
};

/// No way for clips to other programs: what is copied goes nowhere, and no drag begins.
class SilentOutlets final : public ClipPasteboard, public ClipDragSource {
public:
    void copyClip(const ClipRange&, Completion) override {}
    [[nodiscard]] bool beginDrag(const ClipRange&, const Rect&, const MouseEvent&, std::function<void()>) override {
        return false;
    }
};

} // namespace rewindle
