#include "app/PermissionStore.h"

namespace rewindle {
namespace {

/// Before audio had a consent of its own.
constexpr std::string_view kOlderFlowKey = "com.rewindle.hasCompletedScreenCapturePermissionFlow";

} // namespace

PermissionStore::PermissionStore(DefaultsStore& defaults) : defaults_(defaults) {
    if (hasCompletedFlow() || !defaults_.flag(kOlderFlowKey)) return;
    setCompletedFlow();
    defaults_.remove(kOlderFlowKey);
}

void PermissionStore::setCompletedFlow() {
    if (!hasCompletedFlow()) defaults_.set(kFlowKey, true); // spares a write at each return to the foreground
}

} // namespace rewindle
