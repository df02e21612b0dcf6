#pragma once

#include <cstdlib>
#include <memory>

namespace rewindle {

struct FreeXcbReply {
    void operator()(void* reply) const { std::free(reply); }
};
/// What the X server sent, an answer or an event; null when there is none, as about a window that has gone.
template <class T>
using XcbReply = std::unique_ptr<T, FreeXcbReply>;

} // namespace rewindle
