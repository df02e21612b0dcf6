#include "meter/LevelMeterReader.h"

#include <algorithm>

namespace rewindle {

LevelMeterReader::LevelMeterReader(CaptureLevelMeter& meter, const Clock& clock)
    : meter_(meter), clock_(clock), advancedAt_(clock.uptime()) {}

void LevelMeterReader::advance() {
    const auto now = clock_.uptime();
    meter_.advance(std::chrono::duration<double>(now - advancedAt_).count());
    advancedAt_ = now;
}

MeterLevels LevelMeterReader::read() {
    advance();
    const double age = std::max(clock_.uptimeSeconds() - meter_.newestUptime(), 0.0);
    const double fallen = std::max(age - CaptureLevelMeter::kHoldDuration, 0.0);
    MeterLevels levels;
    for (int channel = 0; channel < 2; ++channel) {
        const float newest = meter_.newestDb(channel);
        const auto i = static_cast<std::size_t>(channel);
        levels.displayDb[i] = std::max(meter_.displayDb(channel), CaptureLevelMeter::releasedDb(newest, age));
        levels.holdDb[i] = std::max(meter_.holdDb(channel), CaptureLevelMeter::fallenHoldDb(newest, fallen));
    }
    return levels;
}

} // namespace rewindle
