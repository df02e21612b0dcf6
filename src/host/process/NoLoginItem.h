#pragma once

#include "platform/LoginItemService.h"

namespace rewindle {

/// For starts that say nothing about what the user wants at login.
class NoLoginItem final : public LoginItemService {
public:
    Result<void> registerMainApp() override { return {}; }
    Result<void> unregisterMainApp() override { return {}; }
};

} // namespace rewindle
