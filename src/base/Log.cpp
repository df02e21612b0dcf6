#include "base/Log.h"

#include <cstdio>

namespace rewindle {
namespace {

constexpr std::string_view kSubsystem = "com.rewindle";

/// Syslog severities, as sd-daemon(3) wants them in front of a line.
char severity(LogLevel level) {
    switch (level) {
    case LogLevel::debug: return '7';
    case LogLevel::info: return '6';
    case LogLevel::warning: return '4';
    case LogLevel::error: return '3';
    }
    return '6';
}

} // namespace

StderrLogSink::StderrLogSink(const char* environmentLevel)
    : lowest_(environmentLevel && std::string_view(environmentLevel) == "debug" ? LogLevel::debug : LogLevel::info) {}

void StderrLogSink::write(LogLevel level, std::string_view category, std::string_view message) {
    std::string line = "<0>[";
    line[1] = severity(level);
    line.append(kSubsystem).append(":").append(category).append("] ").append(message).append("\n");
    std::fwrite(line.data(), 1, line.size(), stderr); // one call: stderr's lock keeps lines whole
}

} // namespace rewindle
