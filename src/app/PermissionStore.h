#pragma once

#include "platform/DefaultsStore.h"

#include <string_view>

namespace rewindle {

/// Remembers whether the user has been through the question for audio access.
class PermissionStore {
public:
    static constexpr std::string_view kFlowKey = "com.rewindle.hasCompletedAudioCapturePermissionFlow";
    /// Takes over what an earlier version stored under its own key. Requires: `defaults` outlives this.
    explicit PermissionStore(DefaultsStore& defaults);

    [[nodiscard]] bool hasCompletedFlow() const { return defaults_.flag(kFlowKey); }
    void setCompletedFlow();
    void removeCompletedFlow() { defaults_.remove(kFlowKey); }

private:
    DefaultsStore& defaults_;
};

} // namespace rewindle
