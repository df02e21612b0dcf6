#pragma once

#include "base/Clock.h"
#include "platform/DisplayRefresh.h"

#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>

namespace rewindle {

/// How frames are to be logged.
struct FrameTimingOptions {
    std::filesystem::path file; // empty: nothing is logged
    bool logsRefreshes = false; // a row for every refresh of the display
    /// From the values of REWINDLE_FRAME_DIAG and REWINDLE_FRAME_DIAG_VSYNC, each null when unset.
    [[nodiscard]] static FrameTimingOptions fromEnvironment(const char* file, const char* refreshes);
};

/// A text file with one row for each event of the frame clocks and, if asked for, of the display: uptime, event,
/// source, time since the last refresh, estimated period of refreshes, detail; separated by tabs.
///
/// Units:   milliseconds.
/// Threads: any.
/// Errors:  a file that cannot be made leaves the log off.
class FrameTimingLog {
public:
    /// The file is made, and the display followed, at the first event.
    FrameTimingLog(FrameTimingOptions options, const Clock& clock, DisplayRefreshFactory makeRefresh = {});
    ~FrameTimingLog();
    FrameTimingLog(const FrameTimingLog&) = delete;
    FrameTimingLog& operator=(const FrameTimingLog&) = delete;

    /// Whether events are logged at all. When not, the caller need not make the text of the detail.
    [[nodiscard]] bool isEnabled() const { return !options_.file.empty(); }
    void event(std::string_view name, std::string_view detail);

private:
    void setUp();
    void refreshed();
    void write(std::string_view text);

    const FrameTimingOptions options_;
    const Clock& clock_;
    const DisplayRefreshFactory makeRefresh_;
    std::once_flag setUp_;
    std::mutex mutex_; // guards what follows, but for the refresh itself
    std::ofstream file_;
    std::optional<double> lastRefresh_; // uptime, seconds
    double period_ = 1.0 / 120;         // seconds
    std::unique_ptr<DisplayRefresh> refresh_;
};

} // namespace rewindle
