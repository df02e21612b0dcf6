#pragma once

#include <optional>

namespace rewindle {

/// The blinking cursor at what is being auditioned.
struct AuditionCursor {
    static constexpr int cursorBlinkInterval = 12; // ticks per phase

    std::optional<double> playbackCursorFrame; // none while nothing plays
    bool cursorBlinkVisible = true;
    int cursorBlinkTicks = 0;
    bool suppressAuditionViewportFollow = false; // the user has moved the view away from the cursor

    /// One tick with the audition at `frame`.
    void advance(std::optional<double> frame) {
        playbackCursorFrame = frame;
        if (++cursorBlinkTicks < cursorBlinkInterval) return;
        cursorBlinkTicks = 0;
        cursorBlinkVisible = !cursorBlinkVisible;
    }
    void hide() {
        playbackCursorFrame.reset();
        cursorBlinkVisible = true;
        cursorBlinkTicks = 0;
    }
};

} // namespace rewindle
