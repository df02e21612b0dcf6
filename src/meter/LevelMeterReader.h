#pragma once

#include "base/Clock.h"
#include "meter/CaptureLevelMeter.h"

#include <array>

namespace rewindle {

/// Both channels' readings at one moment: left, right.
struct MeterLevels {
    std::array<float, 2> displayDb{};
    std::array<float, 2> holdDb{};
};

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
    /// Advances and returns what the meter shows now, however rarely it is asked. After a long absence the
    /// meter itself has fallen to the floor even while audio plays, for it rises again only with the next
    /// buffer: the newest buffer counts as if the meter had been advanced just before it.
    [[nodiscard]] MeterLevels read();

private:
    CaptureLevelMeter& meter_;
    const Clock& clock_;
    std::chrono::nanoseconds advancedAt_;
};

} // namespace rewindle
