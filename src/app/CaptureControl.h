#pragma once

#include "app/AudioCapturePermissionModel.h"
#include "base/Result.h"
#include "platform/AudioHardware.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

namespace rewindle {

/// The shortest clip that can be asked for: 480 frames.
constexpr double kShortestClipSeconds = 0.01;

/// What a running instance says of itself.
struct CaptureStatus {
    bool running = false; // capture runs on an output device
    bool frozen = false;
    AudioCaptureAccessState access = AudioCaptureAccessState::granted; // the user's consent
    std::string deviceUID;         // of the output device that is captured; empty while there is none
    std::string deviceDescription; // what people call it
    int durationSeconds = 0;
    double retainedSeconds = 0;
    std::int64_t totalFrames = 0;
    float gainDB = 0;
    std::array<float, 2> displayDB{}; // left, right
    std::array<float, 2> holdDB{};
    CaptureTroubles troubles;
    std::string lastError; // empty while all is well
};

/// Everything that other programs may ask of a running instance, whatever carries the request.
///
/// Threads: interface thread; replies come there too, possibly before the call returns.
/// Errors:  a reply's `Error::message` is one line for people.
class CaptureControl {
public:
    using Path = std::filesystem::path;
    using ExportReply = std::function<void(Result<Path>)>;
    virtual ~CaptureControl() = default;

    /// Saves the newest `seconds` as a clip; less when less is held. An empty folder means the clips folder.
    virtual void exportLast(double seconds, const Path& folder, ExportReply reply) = 0;
    virtual void exportAll(const Path& folder, ExportReply reply) = 0;
    virtual void setFrozen(bool frozen) = 0;
    /// Advances the level meter by the time since anyone last asked.
    virtual void requestStatus(std::function<void(const CaptureStatus&)> reply) = 0;
    /// Fails when `seconds` is none of the seven durations. Replies when the retained audio has been moved.
    virtual void setDuration(int seconds, std::function<void(Result<void>)> reply) = 0;
    /// Clamped to -20 ... +20 dB; fails when it is not a number.
    virtual Result<void> setGain(double gainDB) = 0;
    virtual void quit() = 0;

    // Told to whoever carries the requests; set before the first of them.
    std::function<void(const Path&)> onClipExported;
    std::function<void()> onCaptureStateChanged;
};

} // namespace rewindle
