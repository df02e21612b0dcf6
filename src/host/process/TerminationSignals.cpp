#include "host/process/TerminationSignals.h"

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace rewindle {
namespace {

// A handler has nothing but what is global. It may run on any thread, and may call write.
std::atomic<int> pipeEnd{-1};
static_assert(std::atomic<int>::is_always_lock_free);

void onSignal(int) {
    const int error = errno;
    const char byte = 0;
    [[maybe_unused]] const auto written = write(pipeEnd, &byte, 1);
    errno = error;
}

/// nohup ignores the hang-up so that the program outlives its terminal.
bool isIgnored(int signal) {
    struct sigaction action {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

TerminationSignals::Pipe TerminationSignals::makePipe() {
    int ends[]{-1, -1};
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return {FileHandle(-1), FileHandle(-1)};
    return {FileHandle(ends[0]), FileHandle(ends[1])};
}

TerminationSignals::TerminationSignals(std::function<void()> onFirst) : onFirst_(std::move(onFirst)) {
    if (!pipe_.readEnd.isOpen()) return; // no descriptor was left: the signals end the process
    pipeEnd = pipe_.writeEnd.get();
    notifier_ = std::make_unique<QSocketNotifier>(pipe_.readEnd.get(), QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] { onReadable(); });
    // These two end the program also when a shell started it in the background with the interrupt ignored.
    handle(SIGINT);
    handle(SIGTERM);
    if (!isIgnored(SIGHUP)) handle(SIGHUP);
}

void TerminationSignals::handle(int signal) {
    struct sigaction action {};
    action.sa_handler = onSignal;
    // A second signal does what it does by default, on whatever thread; so it ends the program even where a shell had
    // the interrupt ignored.
    action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
    struct sigaction former {};
    if (sigaction(signal, &action, &former) == 0) former_.emplace_back(signal, former);
}

TerminationSignals::~TerminationSignals() {
    for (const auto& [signal, former] : former_)
        sigaction(signal, &former, nullptr);
    pipeEnd = -1;
    notifier_.reset(); // before its descriptor
}

void TerminationSignals::onReadable() {
    notifier_->setEnabled(false);
    // Any of the three counts as the second signal.
    for (const auto& [signal, former] : former_)
        std::signal(signal, SIG_DFL);
    if (auto onFirst = std::exchange(onFirst_, nullptr)) onFirst();
}

} // namespace rewindle
