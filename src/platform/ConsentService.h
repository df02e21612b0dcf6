#pragma once

#include <functional>
#include <optional>
#include <string_view>

namespace rewindle {

/// Name of the consent to hear what the computer plays.
inline constexpr std::string_view kAudioCaptureConsent = "kTCCServiceAudioCapture";

/// Keeps the user's consent, per application and service.
///
/// Threads: interface thread.
class ConsentService {
public:
    virtual ~ConsentService() = default;

    /// 0 granted, 1 denied, 2 no entry; none while the service is unavailable. Does not wait long: at most 2 s, and
    /// not at all once an answer is known.
    [[nodiscard]] virtual std::optional<int> preflight(std::string_view service) = 0;
    /// Asks the user; `completion` gets the answer later, which is stored by then. False, and no completion, while
    /// the service is unavailable or nobody can be asked.
    virtual bool request(std::string_view service, std::function<void(bool granted)> completion) = 0;
    /// `onChange` is called whenever the stored answer may have changed, by whomever.
    virtual void setChangeHandler(std::function<void()> onChange) = 0;
};

} // namespace rewindle
