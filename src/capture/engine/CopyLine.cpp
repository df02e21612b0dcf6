#include "capture/engine/CopyLine.h"

#include <utility>

namespace rewindle {

void CopyLine::add(const std::function<std::shared_ptr<RangeCopy>()>& begin, SerialQueue& replyQueue,
                   Completion completion) {
    const auto refuse = [&](CopyRefusal why) { replyQueue.async([completion, why] { completion(why); }); };
    if (*count_ >= kMostCopies) return refuse(CopyRefusal::tooManyCopies);
    auto copy = begin();
    if (!copy) return refuse(CopyRefusal::noMemory);
    ++*count_;
    waiting_.push_back({std::move(copy), &replyQueue, std::move(completion)});
    if (waiting_.size() == 1) copyNextPiece();
}

void CopyLine::copyNextPiece() {
    auto& request = waiting_.front();
    request.copy->copyChunk();
    if (!request.copy->isWhole()) return goOn();
    handOver(std::move(request));
    waiting_.pop_front();
    if (!waiting_.empty()) goOn();
}

/// Behind what has come in meanwhile.
void CopyLine::goOn() {
    captureQueue_.async([self = shared_from_this()] { self->copyNextPiece(); });
}

void CopyLine::handOver(Request request) {
    auto& replyQueue = *request.replyQueue;
    replyQueue.async([count = count_, request = std::move(request)] {
        request.completion(request.copy->take());
        --*count;
    });
}

} // namespace rewindle
