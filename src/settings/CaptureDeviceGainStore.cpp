#include "settings/CaptureDeviceGainStore.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace rewindle {

float clampedCaptureGainDB(double gainDB) {
    if (std::isnan(gainDB)) return 0;
    return static_cast<float>(std::clamp<double>(gainDB, -kCaptureGainLimitDB, kCaptureGainLimitDB));
}

std::optional<float> CaptureDeviceGainStore::gain(const std::string& uid) const {
    const auto gains = defaults_.value<DefaultsDictionary>(kStorageKey);
    if (!gains) return std::nullopt;
    const auto found = gains->find(uid);
    return found == gains->end() ? std::nullopt : std::optional(clampedCaptureGainDB(found->second));
}

void CaptureDeviceGainStore::setGain(float gainDB, const std::string& uid) {
    auto gains = defaults_.value<DefaultsDictionary>(kStorageKey).value_or(DefaultsDictionary{});
    gains[uid] = clampedCaptureGainDB(gainDB);
    defaults_.set(kStorageKey, std::move(gains));
}

} // namespace rewindle
