#pragma once

#include "base/Log.h"
#include "platform/ConsentService.h"
#include "platform/ProcessLauncher.h"

#include <cstdint>
#include <functional>

namespace rewindle {

/// What the consent service has to say.
enum class AudioCaptureProbeOutcome : std::uint8_t { granted, denied, noEntry };

/// The operations on the consent service, and on a fresh copy of this program that asks it.
///
/// Threads: interface thread; replies come there, possibly before the call returns.
/// Lifecycle: all that is given outlives the replies.
namespace AudioCaptureProbe {

using Reply = std::function<void(AudioCaptureProbeOutcome)>;
using Probe = std::function<void(Reply)>;

/// True when the service is there and says that access is granted.
[[nodiscard]] bool preflight(ConsentService& consent);
/// Asks the service in this process; an unavailable one has no entry.
void probe(ConsentService& consent, const Reply& reply);
/// Has the user asked.
void request(ConsentService& consent, const Log& log, const Reply& reply);
/// Asks by way of a fresh copy of this program; falls back to what this process is told, with an unavailable service
/// counting as denied.
void freshProbe(ConsentService& consent, ProcessLauncher& launcher, const Log& log, const Reply& reply);

} // namespace AudioCaptureProbe

} // namespace rewindle
