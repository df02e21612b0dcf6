#pragma once

namespace rewindle {

/// Whether what the computer plays is kept or dropped, as last asked for by the user, an audition or the end of
/// capture.
///
/// The ring buffer has a flag of its own, but a copy of it may set that one too, for its length, while the audio waits
/// to be appended behind it. A view that went by it would show a capture that stands still meanwhile.
///
/// Threads: interface thread.
class CaptureFreeze {
public:
    virtual ~CaptureFreeze() = default;
    [[nodiscard]] virtual bool isFrozen() const = 0;
    virtual void setFrozen(bool frozen) = 0;
};

} // namespace rewindle
