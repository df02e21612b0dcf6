#pragma once

#include "base/Result.h"

#include <string>

namespace rewindle {

/// Why a clip could not be made. Two are equal when people would read the same.
class WaveformExportError {
public:
    enum class Case {
        writeFailed,
        noSelection,
        emptySelection,
        formatUnavailable,
        bufferAllocationFailed,
        tooManyExports
    };

    /// Any case but `writeFailed`.
    WaveformExportError(Case which);
    /// `writeFailed`, because of `underlying`.
    [[nodiscard]] static WaveformExportError writeFailed(Error underlying);

    [[nodiscard]] Case which() const { return which_; }
    /// What failed underneath. Its code is 0 for all cases but `writeFailed`.
    [[nodiscard]] const Error& underlying() const { return underlying_; }
    /// One line for people.
    [[nodiscard]] std::string message() const;

    friend bool operator==(const WaveformExportError& a, const WaveformExportError& b) {
        return a.which_ == b.which_ && a.underlying_.message == b.underlying_.message;
    }

private:
    WaveformExportError(Case which, Error underlying);

    Case which_;
    Error underlying_;
};

} // namespace rewindle
