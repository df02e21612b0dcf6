#include "base/SerialQueue.h"

#include <future>

namespace rewindle {

void SerialQueue::sync(const Work& work) {
    if (isCurrent()) return work();
    // Shared, not on this stack: a queue that ends drops the work, which breaks the promise and lets us go.
    auto done = std::make_shared<std::promise<void>>();
    auto finished = done->get_future();
    async([&work, done = std::move(done)] {
        work();
        done->set_value();
    });
    finished.wait();
}

} // namespace rewindle
