#include "LiveWindow.h"

#include <map>
#include <stdexcept>
#include <tuple>

namespace rewindle::bench {
namespace {

std::string startCommand(const std::string& folder, int scale, LiveWindow::Logging logging) {
    const auto log = logging == LiveWindow::Logging::on ? "REWINDLE_FRAME_DIAG=" + folder + "/frames.log " : "";
    return "QT_SCALE_FACTOR=" + std::to_string(scale) + " " + log + "exec " REWINDLE_BINARY " 2>>" + folder + "/log";
}

} // namespace

LiveWindow::LiveWindow(const LoadSession& session, int scale, Logging logging)
    : session_(session), scale_(scale), log_(session.folder() + "/frames.log"), desktop_(session.session()),
      program_(startCommand(session.folder(), scale, logging)), window_(desktop_.window(kTitle)) {
    counter_.emplace(static_cast<xcb_window_t>(std::stoul(window_, nullptr, 0)));
    giveSize();
    xdotool("windowactivate --sync %1");
}

std::string LiveWindow::command(std::string actions) const {
    for (auto place = actions.find("%1"); place != std::string::npos; place = actions.find("%1"))
        actions.replace(place, 2, window_);
    return "xdotool " + actions;
}

void LiveWindow::xdotool(const std::string& actions) const {
    const auto result = session_.session().run("timeout 20 " + command(actions));
    if (result.exitCode != 0) throw std::runtime_error("xdotool " + actions + ": " + result.errors);
}

support::Process LiveWindow::repeatXdotool(const std::string& actions) const {
    return support::Process("while " + command(actions) + "; do :; done");
}

/// How much of the window is not waveform shows when it is painted.
void LiveWindow::giveSize() {
    const auto width = std::to_string(kWidth * scale_);
    int height = 300 * scale_;
    const bool isDone = support::eventually([&] {
        xdotool("windowmove %1 20 40 windowsize %1 " + width + " " + std::to_string(height));
        const int painted = paintedHeight();
        if (painted > 0) height += kHeight * scale_ - painted;
        return painted == kHeight * scale_;
    });
    if (!isDone) throw std::runtime_error("the waveform does not get its size");
}

/// Of the waveform, which is painted again and again; 0 when nothing of its width is.
int LiveWindow::paintedHeight() const {
    constexpr int kOften = 12;
    std::map<int, int> times; // by height
    int height = 0;
    std::ignore = counter_->painted();
    support::eventually(
        [&] {
            for (const auto& size : counter_->painted()) {
                if (size.first == kWidth * scale_ && ++times[size.second] >= kOften) height = size.second;
            }
            return height > 0;
        },
        2);
    return height;
}

} // namespace rewindle::bench
