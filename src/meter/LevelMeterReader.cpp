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
        levels.displayDb[i] = std::max(levels.displayDb[i], meter_.displayDb(channel));
        levels.holdDb[i] = std::max(levels.holdDb[i], meter_.holdDb(channel));
    }
    return levels;
}

} // namespace rewindle
