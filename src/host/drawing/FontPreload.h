#pragma once

#include <thread>

namespace rewindle {

/// Reads the desktop's font configuration beside the start of the toolkit, which would read it only when it meets the
/// first text: a fifth of the time to the first frame.
///
/// Threads:   a thread of its own, which ends by itself; whoever needs fonts meanwhile need not know.
/// Lifecycle: the end waits for the thread.
class FontPreload {
public:
    FontPreload();

private:
    std::jthread reader_;
};

} // namespace rewindle
