#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace rewindle::bench {

/// What the program's frame clock has written into the file that REWINDLE_FRAME_DIAG named.
///
/// Errors: throws when what is asked for is not there.
class FrameLog {
public:
    explicit FrameLog(std::filesystem::path file) : file_(std::move(file)) {}

    /// Whether the clock stands still.
    [[nodiscard]] bool isStopped() const;
    /// Ticks per second, as the clock was started last.
    [[nodiscard]] double clockRate() const;
    /// The longest time between two ticks of the waveform within [from, to], all in ms of the monotonic clock.
    [[nodiscard]] double longestGapMs(double from, double to) const;

private:
    struct Row {
        double uptimeMs = 0;
        std::string event, detail;
    };
    [[nodiscard]] std::vector<Row> rows() const;
    /// The row with which the clock was started or stopped last.
    [[nodiscard]] Row lastChange() const;

    const std::filesystem::path file_;
};

} // namespace rewindle::bench
