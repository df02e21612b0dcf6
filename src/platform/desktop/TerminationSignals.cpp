#include "platform/desktop/TerminationSignals.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <utility>

namespace rewindle {
namespace {

/// nohup ignores the hang-up so that the program outlives its terminal.
bool isIgnored(int signal) {
    struct sigaction action {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

TerminationSignals::TerminationSignals(std::function<void()> onFirst) : onFirst_(std::move(onFirst)) {
    sigemptyset(&signals_);
    // These two end the program also when a shell started it in the background with the interrupt ignored.
    sigaddset(&signals_, SIGINT);
    sigaddset(&signals_, SIGTERM);
    if (!isIgnored(SIGHUP)) sigaddset(&signals_, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &signals_, nullptr);

    fd_ = signalfd(-1, &signals_, SFD_CLOEXEC | SFD_NONBLOCK);
    if (fd_ < 0) { // no descriptor left: the signals end the process the plain way
        pthread_sigmask(SIG_UNBLOCK, &signals_, nullptr);
        return;
    }
    notifier_ = std::make_unique<QSocketNotifier>(fd_, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] { onReadable(); });
}

TerminationSignals::~TerminationSignals() {
    notifier_.reset();
    if (fd_ >= 0) close(fd_);
}

void TerminationSignals::onReadable() {
    signalfd_siginfo info{};
    if (read(fd_, &info, sizeof info) != static_cast<ssize_t>(sizeof info)) return;
    notifier_->setEnabled(false);
    // The next one takes its default course on this thread. An ignored interrupt would stay ignored: restore
    // it, too.
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    pthread_sigmask(SIG_UNBLOCK, &signals_, nullptr);
    if (auto onFirst = std::exchange(onFirst_, nullptr)) onFirst();
}

} // namespace rewindle
