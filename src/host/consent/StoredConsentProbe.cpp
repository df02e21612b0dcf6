#include "host/consent/StoredConsentProbe.h"

#include "host/consent/StoredConsentAnswer.h"
#include "host/consent/StoredConsentPortal.h"

#include <cerrno>

namespace rewindle {
namespace {

constexpr int kLookupMs = 1'500;
constexpr int kStoreMs = 2'000;

} // namespace

std::optional<int> StoredConsentProbe::preflight(std::string_view service) {
    if (service != kAudioCaptureConsent) return std::nullopt;
    const auto lookup = StoredConsentPortal::lookUp(bus_);
    const auto record = record_.read(); // while the store is on its way
    const auto reply = StoredConsentPortal::replyWithin(lookup, QDeadlineTimer(kLookupMs));
    if (!reply) return std::nullopt; // a store that is there and says nothing may hold a no
    const auto entry = StoredConsentPortal::entryInReply(*reply);
    return StoredConsentAnswer::combined(record, entry ? entry->granted : std::nullopt);
}

Result<void> StoredConsentProbe::store(bool granted) {
    const auto setting = StoredConsentPortal::setPermission(bus_, granted);
    const auto record = record_.write(granted);
    const auto portal =
        StoredConsentPortal::outcomeOfSetting(StoredConsentPortal::replyWithin(setting, QDeadlineTimer(kStoreMs)));
    const auto now = preflight(kAudioCaptureConsent);
    if (!now) return Error{ETIMEDOUT, "the desktop's permission store does not answer"};
    return StoredConsentAnswer::outcome(granted, *now, record, portal);
}

} // namespace rewindle
