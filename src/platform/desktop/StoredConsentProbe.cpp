#include "platform/desktop/StoredConsentProbe.h"

#include "platform/desktop/StoredConsentAnswer.h"
#include "platform/desktop/StoredConsentPortal.h"

namespace rewindle {
namespace {

constexpr int kLookupMs = 1'500;
constexpr int kStoreMs = 2'000;

} // namespace

std::optional<int> StoredConsentProbe::preflight(std::string_view service) {
    if (service != kAudioCaptureConsent) return std::nullopt;
    const auto lookup = StoredConsentPortal::lookUp(bus_);
    const auto record = record_.read(); // while the store is on its way
    std::optional<bool> portal;
    if (const auto reply = StoredConsentPortal::replyWithin(lookup, QDeadlineTimer(kLookupMs))) {
        if (const auto entry = StoredConsentPortal::entryInReply(*reply)) portal = entry->granted;
    }
    return StoredConsentAnswer::combined(record, portal);
}

Result<void> StoredConsentProbe::store(bool granted) {
    const auto setting = StoredConsentPortal::setPermission(bus_, granted);
    const auto record = record_.write(granted);
    const auto portal =
        StoredConsentPortal::outcomeOfSetting(StoredConsentPortal::replyWithin(setting, QDeadlineTimer(kStoreMs)));
    return StoredConsentAnswer::outcome(granted, *preflight(kAudioCaptureConsent), record, portal);
}

} // namespace rewindle
