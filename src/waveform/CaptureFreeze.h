#pragma once

namespace rewindle {

/// Whether what the computer plays is kept or dropped, as last asked for by the user, an audition or the end of
/// capture.
///
/// The ring buffer has a flag of its own. But a copy of the ring buffer may set it, too, while new audio waits to be
/// appended after the copy. A view that went by that flag would show capture as frozen meanwhile.
///
/// Threads: interface thread.
class CaptureFreeze {
public:
    virtual ~CaptureFreeze() = default;
    [[nodiscard]] virtual bool isFrozen() const = 0;
    virtual void setFrozen(bool frozen) = 0;
};

} // namespace rewindle
