#include "app/AudioCaptureTCCProbeChild.h"

#include <algorithm>
#include <cstdlib>

namespace rewindle::AudioCaptureTCCProbeChild {
namespace {

constexpr int kServiceUnavailable = 3;

} // namespace

bool isProbeInvocation(std::span<const std::string_view> arguments) {
    return std::ranges::find(arguments, launchArgument) != arguments.end();
}

int exitStatus(ConsentService* consent) {
    if (!consent) return kServiceUnavailable;
    return consent->preflight(kAudioCaptureConsent).value_or(kServiceUnavailable);
}

void exitIfProbeInvocation(std::span<const std::string_view> arguments,
                           const std::function<std::unique_ptr<ConsentService>()>& loadConsentService) {
    if (!isProbeInvocation(arguments)) return;
    const auto consent = loadConsentService();
    std::_Exit(exitStatus(consent.get())); // at once: somebody waits, and there is nothing to put in order
}

} // namespace rewindle::AudioCaptureTCCProbeChild
