#include "host/pipewire/PipeWireLoopQueue.h"

#include <algorithm>
#include <new>
#include <pipewire/pipewire.h>
#include <pthread.h>
#include <utility>

namespace rewindle {
namespace {

timespec toTimespec(std::chrono::nanoseconds time) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
    return {static_cast<time_t>(seconds.count()), static_cast<long>((time - seconds).count())};
}

void callHandler(void* data, std::uint64_t) {
    (*static_cast<std::function<void()>*>(data))();
}

/// Zero would disarm the timer, so that "at once" is one nanosecond.
void arm(pw_loop* loop, spa_source* timer, std::chrono::nanoseconds delay) {
    timespec value = toTimespec(std::max(delay, std::chrono::nanoseconds(1)));
    pw_loop_update_timer(loop, timer, &value, nullptr, false);
}

} // namespace

PipeWireLoopQueue::PipeWireLoopQueue(std::string label) : label_(std::move(label)) {
    pw_init(nullptr, nullptr); // counted: each queue may ask for it
    loop_ = pw_loop_new(nullptr);
    if (!loop_) throw std::bad_alloc();
    wake_ = pw_loop_add_event(
        loop_, [](void* self, std::uint64_t) { static_cast<PipeWireLoopQueue*>(self)->runDue(); }, this);
    timer_ = pw_loop_add_timer(
        loop_, [](void* self, std::uint64_t) { static_cast<PipeWireLoopQueue*>(self)->runDue(); }, this);
    thread_ = std::thread([this] { run(); });
    // What top and a debugger show; the kernel keeps 15 characters, and the end of a label tells most.
    const auto shown = label_.size() > 15 ? label_.substr(label_.size() - 15) : label_;
    pthread_setname_np(thread_.native_handle(), shown.c_str());
}

PipeWireLoopQueue::~PipeWireLoopQueue() {
    ending_ = true;
    wake();
    thread_.join();
    pw_loop_destroy_source(loop_, timer_);
    pw_loop_destroy_source(loop_, wake_);
    pw_loop_destroy(loop_);
    pw_deinit();
}

void PipeWireLoopQueue::run() {
    pw_loop_enter(loop_);
    while (!ending_)
        pw_loop_iterate(loop_, -1);
    due_.close(); // while the loop is there, for what was captured
    pw_loop_leave(loop_);
}

bool PipeWireLoopQueue::isCurrent() const {
    return std::this_thread::get_id() == thread_.get_id();
}

void PipeWireLoopQueue::async(Work work) {
    due_.add(std::move(work));
    wake();
}

DelayedWork PipeWireLoopQueue::asyncAfter(std::chrono::nanoseconds delay, Work work) {
    auto delayed = due_.addAfter(delay, std::move(work));
    wake();
    return delayed;
}

void PipeWireLoopQueue::wake() {
    pw_loop_signal_event(loop_, wake_);
}

void PipeWireLoopQueue::runDue() {
    if (waiting_) return; // waitFor looks again at its end
    // What comes in meanwhile has its turn when the loop has looked after its other sources.
    for (auto turn = due_.count(); turn > 0 && !ending_ && due_.runNext(); --turn) {
    }
    if (const auto left = due_.untilNext()) arm(loop_, timer_, *left);
}

bool PipeWireLoopQueue::waitFor(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
    assertCurrent();
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    const bool outer = std::exchange(waiting_, true);
    while (!done()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) break;
        pw_loop_iterate(loop_, static_cast<int>(left.count()));
    }
    waiting_ = outer;
    if (!waiting_) wake();
    return done();
}

PipeWireLoopQueue::Signal::Signal(PipeWireLoopQueue& queue, std::function<void()> handler)
    : queue_(queue), handler_(std::move(handler)), event_(pw_loop_add_event(queue.loop_, callHandler, &handler_)) {}

PipeWireLoopQueue::Signal::~Signal() {
    pw_loop_destroy_source(queue_.loop_, event_);
}

void PipeWireLoopQueue::Signal::trigger() noexcept {
    pw_loop_signal_event(queue_.loop_, event_);
}

PipeWireLoopQueue::Timer::Timer(PipeWireLoopQueue& queue, std::function<void()> handler)
    : queue_(queue), handler_(std::move(handler)), timer_(pw_loop_add_timer(queue.loop_, callHandler, &handler_)) {}

PipeWireLoopQueue::Timer::~Timer() {
    pw_loop_destroy_source(queue_.loop_, timer_);
}

void PipeWireLoopQueue::Timer::set(std::chrono::nanoseconds delay) {
    arm(queue_.loop_, timer_, delay);
}

} // namespace rewindle
