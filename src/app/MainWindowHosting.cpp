#include "app/MainWindowHosting.h"

namespace rewindle {
namespace {

constexpr double kContentHeight = 200; // points
constexpr double kContentHeightWithMeter = 238;

} // namespace

MainWindowHosting::MainWindowHosting(Application& application, MainWindowPresentation& presentation,
                                     DefaultsStore& defaults, const SettingsManager& settings)
    : application_(application), presentation_(presentation), defaults_(defaults), settings_(settings) {}

void MainWindowHosting::setMainWindow(Window* window) {
    window_ = window;
    if (!window_ || defaults_.flag(kLayoutKey)) return;
    applyDefaultFrame(true);
    defaults_.set(kLayoutKey, true);
}

void MainWindowHosting::show() {
    isHiding_ = false;
    application_.activateIgnoringOtherApps();
    if (!window_) {
        presentation_.openWindow();
    } else {
        if (window_->isMiniaturized()) window_->deminiaturize();
        window_->makeKeyAndOrderFront();
    }
    presentation_.isPresented.set(true);
    reveals_.set(reveals_.get() + 1);
}

void MainWindowHosting::hide() {
    if (!window_) return;
    if (!window_->isFullScreen()) return window_->orderOut();
    isHiding_ = true;
    window_->leaveFullScreen([this] {
        if (isHiding_ && window_) window_->orderOut(); // unless it was shown again on its way
        isHiding_ = false;
    });
}

void MainWindowHosting::applyDefaultFrame(bool animate, const std::function<void()>& completion) {
    if (const auto visible = window_ ? window_->visibleFrame() : std::nullopt) {
        const double height = settings_.showLevelMeter().get() ? kContentHeightWithMeter : kContentHeight;
        auto frame = window_->frameRectForContentRect({visible->x, visible->y, visible->width, height});
        frame.x = visible->x;
        frame.y = visible->y; // the frame's top, not the content's
        window_->setFrame(frame, animate);
    }
    if (completion) completion();
}

Observation MainWindowHosting::observeReveal(std::function<void()> observer) {
    return reveals_.observe(std::move(observer));
}

} // namespace rewindle
