#include "app/StatusText.h"

#include "base/CaptureGain.h"
#include "base/DecimalText.h"
#include "meter/CaptureLevelMeter.h"

#include <algorithm>
#include <cmath>

namespace rewindle {
namespace {

constexpr double kFramesPerSecond = 48'000;

bool isControl(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

/// A meter's reading, in letters that every terminal has.
std::string levelText(float db) {
    return (db <= CaptureLevelMeter::kSilentReadoutDB ? "-inf" : signedDecimalText(db, 1)) + " dB";
}

std::string deviceName(const CaptureStatus& status) {
    return oneLine(status.deviceDescription.empty() ? status.deviceUID : status.deviceDescription);
}

std::string stateLine(const CaptureStatus& status) {
    if (status.access == AudioCaptureAccessState::checking) return "Not capturing: looking up the consent";
    if (status.access != AudioCaptureAccessState::granted) {
        return "Not capturing: audio access is not granted; allow it with: rewindle grant";
    }
    if (!status.running) return "Not capturing: waiting for an output";
    const auto frozen = status.frozen ? "Frozen, nothing new is kept; output: " : "Capturing ";
    return frozen + deviceName(status);
}

std::string counted(std::uint64_t count, std::string_view what) {
    return std::to_string(count) + " " + std::string(what) + (count == 1 ? "" : "s");
}

std::string troublesLine(const CaptureTroubles& troubles) {
    const auto seconds = [](std::uint64_t frames) {
        return " (" + decimalText(static_cast<double>(frames) / kFramesPerSecond, 1) + " s)";
    };
    return counted(troubles.gaps, "gap") + seconds(troubles.gapFrames) + ", " +
           counted(troubles.overruns, "overrun") + seconds(troubles.overrunFrames);
}

std::string jsonString(std::string_view text) {
    constexpr std::string_view kHex = "0123456789abcdef";
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            out += {'\\', c};
        } else if (isControl(c)) {
            const auto byte = static_cast<unsigned char>(c);
            out.append("\\u00").append({kHex[byte >> 4U], kHex[byte & 0xFU]});
        } else {
            out += c;
        }
    }
    return out + "\"";
}

std::string jsonNumber(double value) {
    return std::isfinite(value) ? decimalText(value, 3) : "null";
}

class JsonObject {
public:
    void add(std::string_view key, std::string_view jsonValue) {
        text_.append(text_.size() > 1 ? ", " : "").append(jsonString(key)).append(": ").append(jsonValue);
    }
    void add(std::string_view key, bool value) { add(key, std::string_view(value ? "true" : "false")); }
    [[nodiscard]] std::string end() const { return text_ + "}\n"; }

private:
    std::string text_ = "{";
};

} // namespace

std::string_view accessName(AudioCaptureAccessState access) {
    switch (access) {
    case AudioCaptureAccessState::checking: return "checking";
    case AudioCaptureAccessState::granted: return "granted";
    case AudioCaptureAccessState::firstRun: return "not asked";
    case AudioCaptureAccessState::needsSystemSettings: return "denied";
    }
    return {};
}

std::string oneLine(std::string_view text) {
    std::string line(text);
    std::ranges::replace_if(line, isControl, '?');
    return line;
}

std::string statusText(const CaptureStatus& status) {
    std::string text = stateLine(status) + "\n";
    text += "Only what goes to the default output is captured.\n";
    text += "Holds    " + decimalText(status.retainedSeconds, 1) + " s of at most " +
            std::to_string(status.durationSeconds) + " s\n";
    text += "Level    left " + levelText(status.displayDB[0]) + " (peak " + levelText(status.holdDB[0]) +
            "), right " + levelText(status.displayDB[1]) + " (peak " + levelText(status.holdDB[1]) + ")\n";
    text += "Gain     " + CaptureGain::label(status.gainDB) + "\n";
    text += "Trouble  " + troublesLine(status.troubles) + "\n";
    if (!status.lastError.empty()) text += "Error    " + oneLine(status.lastError) + "\n";
    return text;
}

std::string statusJson(const CaptureStatus& status) {
    JsonObject json;
    json.add("running", status.running);
    json.add("frozen", status.frozen);
    json.add("captured_outputs", jsonString("default"));
    json.add("device_uid", jsonString(status.deviceUID));
    json.add("device_description", jsonString(status.deviceDescription));
    json.add("duration_seconds", std::to_string(status.durationSeconds));
    json.add("retained_seconds", jsonNumber(status.retainedSeconds));
    json.add("total_frames", std::to_string(status.totalFrames));
    json.add("gain_db", jsonNumber(status.gainDB));
    json.add("left_display_db", jsonNumber(status.displayDB[0]));
    json.add("right_display_db", jsonNumber(status.displayDB[1]));
    json.add("left_hold_db", jsonNumber(status.holdDB[0]));
    json.add("right_hold_db", jsonNumber(status.holdDB[1]));
    json.add("gaps", std::to_string(status.troubles.gaps));
    json.add("gap_frames", std::to_string(status.troubles.gapFrames));
    json.add("overruns", std::to_string(status.troubles.overruns));
    json.add("overrun_frames", std::to_string(status.troubles.overrunFrames));
    json.add("access", jsonString(accessName(status.access)));
    json.add("last_error", jsonString(status.lastError));
    return json.end();
}

} // namespace rewindle
