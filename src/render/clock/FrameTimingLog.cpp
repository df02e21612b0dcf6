#include "render/clock/FrameTimingLog.h"

#include "base/DecimalText.h"

#include <algorithm>
#include <string>

namespace rewindle {
namespace {

constexpr double kShortestPeriod = 0.001; // seconds, both: an interval outside is no period of a display
constexpr double kLongestPeriod = 0.05;
constexpr double kPeriodWeight = 0.1; // of the newest interval in the estimate

std::string milliseconds(double seconds) {
    return decimalText(seconds * 1'000, 3);
}

std::string padded(int value, std::size_t width) {
    auto digits = std::to_string(value);
    return std::string(width - std::min(width, digits.size()), '0') + digits;
}

/// ISO 8601 in UTC, "2024-11-10T14:40:00Z".
std::string isoDate(std::chrono::milliseconds since1970) {
    using namespace std::chrono;
    const sys_time<seconds> time(floor<seconds>(since1970));
    const auto day = floor<days>(time);
    const year_month_day date(day);
    const hh_mm_ss clock(time - day);
    const auto two = [](auto value) { return padded(static_cast<int>(value), 2); };
    return padded(static_cast<int>(date.year()), 4) + '-' + two(unsigned(date.month())) + '-' +
           two(unsigned(date.day())) + 'T' + two(clock.hours().count()) + ':' + two(clock.minutes().count()) + ':' +
           two(clock.seconds().count()) + 'Z';
}

} // namespace

FrameTimingOptions FrameTimingOptions::fromEnvironment(const char* file, const char* refreshes) {
    return {file != nullptr ? file : "", refreshes != nullptr && std::string_view(refreshes) == "1"};
}

FrameTimingLog::FrameTimingLog(FrameTimingOptions options, const Clock& clock, DisplayRefreshFactory makeRefresh)
    : options_(std::move(options)), clock_(clock), makeRefresh_(std::move(makeRefresh)) {}

FrameTimingLog::~FrameTimingLog() = default;

void FrameTimingLog::event(std::string_view name, std::string_view detail) {
    if (!isEnabled()) return;
    std::call_once(setUp_, [this] { setUp(); });
    const std::lock_guard hold(mutex_);
    if (!file_.is_open()) return;
    const double now = clock_.uptimeSeconds();
    const auto phase = lastRefresh_ ? milliseconds(std::max(now - *lastRefresh_, 0.0)) : "-1.000";
    write(milliseconds(now) + '\t' + std::string(name) + "\tmain\t" + phase + '\t' + milliseconds(period_) + '\t' +
          std::string(detail) + '\n');
}

void FrameTimingLog::setUp() {
    std::error_code failure; // shows when the file is opened
    std::filesystem::create_directories(options_.file.parent_path(), failure);
    {
        const std::lock_guard hold(mutex_);
        file_.open(options_.file, std::ios::binary | std::ios::trunc);
        if (!file_.is_open()) return;
        write("# Rewindle frame timing log started " + isoDate(clock_.wallTime()) +
              " vsync=" + (options_.logsRefreshes ? "1" : "0") +
              "\n# columns: uptime_ms\tevent\tsource\tphase_ms\tvsync_period_ms\tdetail\n");
    }
    if (options_.logsRefreshes && makeRefresh_) refresh_ = makeRefresh_([this] { refreshed(); });
}

void FrameTimingLog::refreshed() {
    const std::lock_guard hold(mutex_);
    const double now = clock_.uptimeSeconds();
    if (lastRefresh_) {
        const double interval = now - *lastRefresh_;
        if (interval > kShortestPeriod && interval < kLongestPeriod)
            period_ = kPeriodWeight * interval + (1 - kPeriodWeight) * period_;
    }
    lastRefresh_ = now;
    write(milliseconds(now) + "\tvsync\tdisplay\t0.000\t" + milliseconds(period_) + "\t\n");
}

void FrameTimingLog::write(std::string_view text) {
    file_.write(text.data(), static_cast<std::streamsize>(text.size()));
    file_.flush(); // so that a row is there even when the program is killed
}

} // namespace rewindle
