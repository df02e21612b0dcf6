#pragma once

#include "base/Geometry.h"
#include "base/Result.h"
#include "platform/InputEvents.h"
#include "waveform/WaveformExportError.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>

namespace rewindle {

/// The frames [first, end), of which only what is still retained counts.
struct ClipRange {
    std::int64_t first = 0;
    std::int64_t end = 0;
    friend bool operator==(const ClipRange&, const ClipRange&) = default;
};

/// Writes stretches of the retained audio into the clips folder.
///
/// Threads: interface thread; the work is done elsewhere.
class ClipSaver {
public:
    using Outcome = Result<std::filesystem::path, WaveformExportError>; // the file that was written
    using Completion = std::function<void(const Outcome&)>;
    using Progress = std::function<void(double)>; // how much of the clip is on the storage, 0 to 1
    virtual ~ClipSaver() = default;
    /// Saves the range, or all that is retained when there is none. `progress` comes before `completion`, of long clips
    /// only.
    virtual void saveClip(std::optional<ClipRange> range, Completion completion, Progress progress) = 0;
};

/// Offers clips to other programs on the clipboard.
///
/// Threads: interface thread.
class ClipPasteboard {
public:
    using Completion = std::function<void(const Result<void, WaveformExportError>&)>;
    virtual ~ClipPasteboard() = default;
    /// Puts the range there in place of what was there. `completion` may come before this returns.
    virtual void copyClip(const ClipRange& range, Completion completion) = 0;
};

/// Lets the user drag clips to other programs.
///
/// Threads: interface thread.
class ClipDragSource {
public:
    virtual ~ClipDragSource() = default;
    /// Begins a drag with the picture of `selectionRect`; false when it cannot. Whoever began it calls `onEnded` once
    /// the clip was dropped or not, possibly before this returns.
    [[nodiscard]] virtual bool beginDrag(const ClipRange& range, const Rect& selectionRect, const MouseEvent& event,
                                         std::function<void()> onEnded) = 0;
};

} // namespace rewindle
