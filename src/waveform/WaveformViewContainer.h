#pragma once

#include "base/Geometry.h"
#include "base/Observable.h"
#include "waveform/WaveformView.h"

#include <memory>
#include <string_view>

namespace rewindle {

/// A waveform view with the button that pauses and resumes its following.
///
/// Threads:   interface thread.
/// Lifecycle: takes the view's `onFollowLiveChanged` until it is destroyed.
class WaveformViewContainer {
public:
    static constexpr double overlayPadding = 13; // points, all of these
    static constexpr double buttonBoxSize = 30;

    explicit WaveformViewContainer(std::shared_ptr<WaveformView> waveformView);
    ~WaveformViewContainer();
    WaveformViewContainer(const WaveformViewContainer&) = delete;
    WaveformViewContainer& operator=(const WaveformViewContainer&) = delete;

    [[nodiscard]] WaveformView& waveformView() const { return *waveformView_; }
    [[nodiscard]] const Observable<bool>& isFollowingLive() const { return isFollowingLive_; }

    // The button

    [[nodiscard]] std::string_view followHelpText() const;
    void pressFollowButton();
    /// In the upper right corner, where the newest audio has not come yet while the view follows.
    [[nodiscard]] static Rect followButtonRect(Size bounds);

private:
    std::shared_ptr<WaveformView> waveformView_;
    Observable<bool> isFollowingLive_;
};

} // namespace rewindle
