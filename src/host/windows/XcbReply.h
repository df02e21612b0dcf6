#pragma once

#include <cstdlib>
#include <memory>

namespace rewindle {

struct FreeXcbReply {
    void operator()(void* reply) const { std::free(reply); }
};
/// What the X server answered; null when the window it was asked about has gone.
template <class T>
using XcbReply = std::unique_ptr<T, FreeXcbReply>;

} // namespace rewindle
