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
    MeterLevels levels = meter_.recentLevels();
    for (std::size_t i = 0; i < 2; ++i) {
        const int channel = static_cast<int>(i);
        levels.displayDB[i] = std::max(levels.displayDB[i], meter_.displayDB(channel));
        levels.holdDB[i] = std::max(levels.holdDB[i], meter_.holdDB(channel));
    }
    return levels;
}

} // namespace rewindle
