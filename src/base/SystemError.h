#pragma once

#include "base/Result.h"

#include <system_error>

namespace rewindle {

/// The failure that an errno stands for, with the system's own text for it ("No space left on device").
inline Error systemError(int code) {
    return Error{code, std::generic_category().message(code)};
}
inline Error systemError(std::errc code) {
    return systemError(static_cast<int>(code));
}

} // namespace rewindle
