#pragma once

#include "base/Log.h"
#include "base/ThreadSerialQueue.h"
#include "host/defaults/JsonDefaultsFile.h"
#include "platform/DefaultsStore.h"

#include <filesystem>
#include <map>
#include <mutex>
#include <optional>

namespace rewindle {

/// The user's settings in one JSON file, which other processes may change, too.
///
/// Threads:   any. The storage is waited for on a thread of its own, at most twice a second, and at the end.
/// Errors:    one line in the log when settings cannot be stored, and none again until they could be; until then
///            the values live in this process, and the next change tries again.
/// Lifecycle: the destructor waits for the storage.
class JsonDefaultsStore final : public DefaultsStore {
public:
    using Path = std::filesystem::path;
    /// $XDG_CONFIG_HOME/rewindle/settings.json
    [[nodiscard]] static Path defaultFile();

    /// Sets a file aside that holds no settings ("settings.json.bad"). Requires: an absolute path.
    JsonDefaultsStore(const Path& file, Log log);
    ~JsonDefaultsStore() override; // NOLINT(bugprone-exception-escape): only memory can run out
    JsonDefaultsStore(const JsonDefaultsStore&) = delete;
    JsonDefaultsStore& operator=(const JsonDefaultsStore&) = delete;

    /// Sees at once what another process has stored.
    [[nodiscard]] std::optional<DefaultsValue> object(std::string_view key) const override;
    /// Waits half a second at most, for a process that was stopped in the middle of a change.
    void set(std::string_view key, DefaultsValue value) override;
    void remove(std::string_view key) override;

private:
    using Pending = std::map<std::string, std::optional<DefaultsValue>, std::less<>>; // none: removed

    void change(std::string_view key, std::optional<DefaultsValue> value);
    void flush();
    void applyPending(JsonMembers& members) const;
    void schedule();
    void syncAndRetry();
    void sayStateOf(const Result<void>& outcome);

    const Path path_;
    const Log log_;
    mutable std::mutex mutex_; // guards all below
    mutable JsonDefaultsFile file_;
    Pending pending_;       // not in the file yet
    bool troubled_ = false; // and the log has said so
    bool busy_ = false;     // another process keeps the lock
    bool unsynced_ = false;
    bool scheduled_ = false;
    bool ending_ = false;
    std::optional<ThreadSerialQueue> queue_; // made for the first change
};

} // namespace rewindle
