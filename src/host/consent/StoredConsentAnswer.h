#pragma once

#include "base/Result.h"

#include <optional>

/// What the answers mean that are stored in the program's own record and in the desktop's permission store.
namespace rewindle::StoredConsentAnswer {

inline constexpr int kGranted = 0;
inline constexpr int kDenied = 1;
inline constexpr int kNoEntry = 2;

/// One no is enough for a no. An answer that is not there says nothing.
[[nodiscard]] int combined(std::optional<bool> record, std::optional<bool> portal);

/// What storing an answer in both places came to: a success when it counts `now`, whatever
/// failed.
[[nodiscard]] Result<void> outcome(bool granted, int now, const Result<void>& record, const Result<void>& portal);

} // namespace rewindle::StoredConsentAnswer
