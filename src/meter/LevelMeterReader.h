#pragma once

#include "base/Clock.h"
#include "meter/CaptureLevelMeter.h"

#include <chrono>

namespace rewindle {

/// Lets everybody who reads the level meter share one passing of time, so that two readers do not release it
/// twice.
///
/// Threads: interface thread.
class LevelMeterReader {
public:
    /// Requires: both outlive the reader; `clock` is the meter's own.
    LevelMeterReader(CaptureLevelMeter& meter, const Clock& clock);

    /// Lets the meter fall by the time since this was last called.
    void advance();
    /// Advances and returns what the meter shows now, however rarely it is asked: in the one long fall after
    /// a long absence the meter itself loses the audio that is playing, until the next buffer raises it
    /// again.
    [[nodiscard]] MeterLevels read();

private:
    CaptureLevelMeter& meter_;
    const Clock& clock_;
    std::chrono::nanoseconds advancedAt_;
};

} // namespace rewindle
