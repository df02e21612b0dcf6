#pragma once

#include "platform/ConsentService.h"

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

namespace rewindle {

/// This program as a short-lived copy of itself that only says, by its exit status, whether access is granted.
namespace AudioCaptureTCCProbeChild {

inline constexpr std::string_view launchArgument = "--tcc-audio-capture-preflight";

[[nodiscard]] bool isProbeInvocation(std::span<const std::string_view> arguments);
/// What the probe child exits with: 0 granted, 1 denied, 2 no entry, 3 when the service cannot be had.
[[nodiscard]] int exitStatus(ConsentService* consent);
/// Ends the process when it is a probe child; `loadConsentService` is called only then, and may give nothing.
void exitIfProbeInvocation(std::span<const std::string_view> arguments,
                           const std::function<std::unique_ptr<ConsentService>()>& loadConsentService);

} // namespace AudioCaptureTCCProbeChild

} // namespace rewindle
