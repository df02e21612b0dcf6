#pragma once

#include "base/Log.h"
#include "base/Result.h"

#include <filesystem>
#include <optional>

namespace rewindle {

/// The program's own record of the user's answer: a file that says "yes" or "no".
///
/// Threads: one at a time.
class ConsentRecord {
public:
    using Path = std::filesystem::path;
    /// $XDG_CONFIG_HOME/rewindle/consent
    [[nodiscard]] static Path defaultFile();

    ConsentRecord(Path file, Log log) : file_(std::move(file)), log_(std::move(log)) {}

    [[nodiscard]] const Path& file() const { return file_; }
    /// The answer; none when there is no record. A record that cannot be read, or says something else, is no consent:
    /// false, and a line in the log the first time.
    [[nodiscard]] std::optional<bool> read();
    /// Survives a power failure from the moment it returns. A no that cannot be written takes the record away.
    [[nodiscard]] Result<void> write(bool granted);

private:
    std::optional<bool> refuse(const std::string& why);

    const Path file_;
    const Log log_;
    bool refused_ = false; // the log has told of a record that counts as a no
};

} // namespace rewindle
