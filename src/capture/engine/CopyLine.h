#pragma once

#include "base/Result.h"
#include "base/SampleArray.h"
#include "base/SerialQueue.h"
#include "capture/ring/RangeCopy.h"

#include <atomic>
#include <deque>
#include <functional>
#include <memory>

namespace rewindle {

/// Why a copy of retained audio was not made.
enum class CopyRefusal { noMemory, tooManyCopies };
using CopyResult = Result<StereoSamples, CopyRefusal>;

/// The copies that were asked for: made one after the other, a piece at a time, and counted until they have been used.
///
/// Threads: capture queue; completions run on the queues that they name.
class CopyLine : public std::enable_shared_from_this<CopyLine> {
public:
    /// Of copies that are made, wait, or are being written: each may hold as much as the ring buffer.
    static constexpr int kMostCopies = 3;
    using Completion = std::function<void(CopyResult)>;

    explicit CopyLine(SerialQueue& captureQueue) : captureQueue_(captureQueue) {}

    /// Makes what `begin` begins, and gives it to `completion` on `replyQueue`; a null from `begin` says that there is no
    /// memory for it. A copy is used, and its room in the line free, when `completion` has returned.
    void add(const std::function<std::shared_ptr<RangeCopy>()>& begin, SerialQueue& replyQueue,
             Completion completion);

private:
    struct Request {
        std::shared_ptr<RangeCopy> copy;
        SerialQueue* replyQueue;
        Completion completion;
    };

    void copyNextPiece();
    void goOn();
    void handOver(Request request);

    SerialQueue& captureQueue_;
    std::deque<Request> waiting_;                                                     // the first is being made
    std::shared_ptr<std::atomic<int>> count_ = std::make_shared<std::atomic<int>>(0); // falls on any thread
};

} // namespace rewindle
