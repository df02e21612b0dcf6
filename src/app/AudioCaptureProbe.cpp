#include "app/AudioCaptureProbe.h"

#include "app/AudioCaptureTCCProbeChild.h"

#include <optional>
#include <string>

namespace rewindle::AudioCaptureProbe {
namespace {

using Outcome = AudioCaptureProbeOutcome;

std::optional<Outcome> outcomeOf(std::optional<int> status) {
    if (status == 0) return Outcome::granted;
    if (status == 1) return Outcome::denied;
    if (status == 2) return Outcome::noEntry;
    return std::nullopt;
}

/// A service that is away for a moment counts as a no. As one without an entry it would have this program forget that
/// the user has been asked.
Outcome inProcessPreflight(ConsentService& consent) {
    return outcomeOf(consent.preflight(kAudioCaptureConsent)).value_or(Outcome::denied);
}

Outcome childOutcome(ConsentService& consent, const Log& log, const Result<int>& exit) {
    if (exit) log.debug("Fresh TCC probe child returned status " + std::to_string(exit.value()) + ".");
    const auto outcome = exit ? outcomeOf(exit.value()) : std::nullopt;
    if (outcome) return *outcome;
    const auto status = exit ? std::to_string(exit.value()) : exit.error().message;
    log.warning("Fresh TCC probe child failed (status " + status + "); using in-process preflight.");
    return inProcessPreflight(consent);
}

} // namespace

bool preflight(ConsentService& consent) {
    return consent.preflight(kAudioCaptureConsent) == 0;
}

void probe(ConsentService& consent, const Reply& reply) {
    reply(outcomeOf(consent.preflight(kAudioCaptureConsent)).value_or(Outcome::noEntry));
}

void request(ConsentService& consent, const Log& log, const Reply& reply) {
    const auto completion = [reply](bool granted) { reply(granted ? Outcome::granted : Outcome::denied); };
    if (consent.request(kAudioCaptureConsent, completion)) return;
    log.warning("TCC request SPI unavailable; falling back to probe.");
    probe(consent, reply);
}

void freshProbe(ConsentService& consent, ProcessLauncher& launcher, const Log& log, const Reply& reply) {
    const auto executable = launcher.executable();
    if (!executable) {
        log.warning("No executable URL for fresh TCC probe; using in-process preflight.");
        return reply(inProcessPreflight(consent));
    }
    launcher.run(*executable, std::string(AudioCaptureTCCProbeChild::launchArgument),
                 [&consent, log, reply](const Result<int>& exit) { reply(childOutcome(consent, log, exit)); });
}

} // namespace rewindle::AudioCaptureProbe
