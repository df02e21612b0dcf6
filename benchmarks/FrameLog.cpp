#include "FrameLog.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace rewindle::bench {

std::vector<FrameLog::Row> FrameLog::rows() const {
    std::vector<Row> all;
    std::ifstream file(file_);
    for (std::string line; std::getline(file, line);) {
        std::istringstream columns(line);
        Row row;
        std::string source, phase, period;
        if (columns >> row.uptimeMs >> row.event >> source >> phase >> period && std::getline(columns, row.detail))
            all.push_back(std::move(row));
    }
    return all;
}

FrameLog::Row FrameLog::lastChange() const {
    auto all = rows();
    const auto found =
        std::find_if(all.rbegin(), all.rend(), [](const Row& row) { return row.event.rfind("clock_", 0) == 0; });
    if (found == all.rend()) throw std::runtime_error("the frame clock has never run");
    return *found;
}

bool FrameLog::isStopped() const {
    return lastChange().event == "clock_stop";
}

double FrameLog::clockRate() const {
    const auto detail = lastChange().detail;
    const auto place = detail.find(" fps=");
    if (place == std::string::npos) throw std::runtime_error("the frame clock does not run");
    return std::stod(detail.substr(place + 5));
}

double FrameLog::longestGapMs(double from, double to) const {
    double longest = 0;
    double last = 0;
    for (const auto& row : rows()) {
        if (row.event != "waveform_tick" || row.uptimeMs < from || row.uptimeMs > to) continue;
        if (last > 0) longest = std::max(longest, row.uptimeMs - last);
        last = row.uptimeMs;
    }
    if (longest == 0) throw std::runtime_error("the waveform does not tick");
    return longest;
}

} // namespace rewindle::bench
