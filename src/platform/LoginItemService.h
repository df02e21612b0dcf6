#pragma once

#include "base/Result.h"

namespace rewindle {

/// Has the desktop start the program when the user logs in.
///
/// Threads: interface thread.
/// Errors:  `Error::message` is one line for people.
class LoginItemService {
public:
    virtual ~LoginItemService() = default;
    /// Also when it is registered already: the entry is then brought up to date.
    virtual Result<void> registerMainApp() = 0;
    /// An entry that is not there is a success.
    virtual Result<void> unregisterMainApp() = 0;
};

} // namespace rewindle
