#include "host/consent/StoredConsentAnswer.h"

#include <cerrno>

namespace rewindle::StoredConsentAnswer {

int combined(std::optional<bool> record, std::optional<bool> portal) {
    if (record == false || portal == false) return kDenied;
    return record == true || portal == true ? kGranted : kNoEntry;
}

Result<void> outcome(bool granted, int now, const Result<void>& record, const Result<void>& portal) {
    if ((now == kGranted) == granted) return {};
    if (!record) return record;
    if (!portal) return portal;
    return Error{EAGAIN, "another program changed the answer at the same time"};
}

} // namespace rewindle::StoredConsentAnswer
