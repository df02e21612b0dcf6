#pragma once

#include "FrameCounter.h"
#include "FrameLog.h"
#include "LoadSession.h"
#include "support/Desktop.h"

#include <optional>
#include <string>

namespace rewindle::bench {

/// The program with its window in front, which is as large as makes its waveform 1600 x 238 points.
///
/// Errors: throws when it does not come to that.
class LiveWindow {
public:
    static constexpr int kWidth = 1'600, kHeight = 238; // points
    static constexpr auto kTitle = "rewindle";

    enum class Logging { off, on };
    /// At `scale` pixels per point. Requires: the program has no other instance in the session, which outlives this.
    LiveWindow(const LoadSession& session, int scale, Logging logging);

    [[nodiscard]] pid_t pid() const { return program_.pid(); }
    /// Empty while logging is off.
    [[nodiscard]] const FrameLog& log() const { return log_; }
    /// Pictures of the whole waveform that have come to the screen since the last call.
    [[nodiscard]] int paintedFrames() const { return counter_->count({kWidth * scale_, kHeight * scale_}); }
    /// Runs xdotool with these actions; %1 in them is the window.
    void xdotool(const std::string& actions) const;
    /// The same over and over, in a process of its own.
    [[nodiscard]] support::Process repeatXdotool(const std::string& actions) const;

private:
    [[nodiscard]] std::string command(std::string actions) const;
    void giveSize();
    [[nodiscard]] int paintedHeight() const;

    const LoadSession& session_;
    const int scale_;
    const FrameLog log_;
    const support::Desktop desktop_;
    const support::Process program_;
    std::string window_;
    std::optional<FrameCounter> counter_;
};

} // namespace rewindle::bench
