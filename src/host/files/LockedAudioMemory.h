#pragma once

#include "base/Log.h"
#include "platform/AudioMemory.h"

#include <atomic>

namespace rewindle {

/// Memory that never reaches a disk: left out of core dumps, and locked so that it is not swapped out, as far
/// as the user's limits allow. When they do not, the log says so once.
class LockedAudioMemory final : public AudioMemory {
public:
    explicit LockedAudioMemory(LogSink& log) : log_(log, "AudioMemory") {}
    [[nodiscard]] Block allocate(std::size_t bytes) override;

private:
    void warnOnce(const char* what, int error);

    Log log_;
    std::atomic_flag warned_;
};

} // namespace rewindle
