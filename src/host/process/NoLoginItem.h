#pragma once

#include "platform/LoginItemService.h"

namespace rewindle {

/// For ways to start the program that leave the entry for login as it is.
class NoLoginItem final : public LoginItemService {
public:
    Result<void> registerMainApp() override { return {}; }
    Result<void> unregisterMainApp() override { return {}; }
};

} // namespace rewindle
