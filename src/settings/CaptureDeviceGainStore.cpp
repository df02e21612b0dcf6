#include "settings/CaptureDeviceGainStore.h"

#include "base/CaptureGain.h"

#include <utility>

namespace rewindle {

std::optional<float> CaptureDeviceGainStore::gain(const std::string& uid) const {
    const auto gains = defaults_.value<DefaultsDictionary>(kStorageKey);
    if (!gains) return std::nullopt;
    const auto found = gains->find(uid);
    return found == gains->end() ? std::nullopt : std::optional(CaptureGain::clamped(found->second));
}

void CaptureDeviceGainStore::setGain(float gainDB, const std::string& uid) {
    auto gains = defaults_.value<DefaultsDictionary>(kStorageKey).value_or(DefaultsDictionary{});
    gains[uid] = CaptureGain::clamped(gainDB);
    defaults_.set(kStorageKey, std::move(gains));
}

} // namespace rewindle
