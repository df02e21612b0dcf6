#include "host/defaults/JsonDefaultsStore.h"

#include "base/SystemError.h"
#include "host/files/FileReplacement.h"
#include "host/files/UserFolders.h"

#include <cerrno>

namespace rewindle {
namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 500ms;
constexpr auto kPauseBetweenSyncs = 500ms;

} // namespace

JsonDefaultsStore::Path JsonDefaultsStore::defaultFile() {
    return currentUserFolders().config / "rewindle" / "settings.json";
}

JsonDefaultsStore::JsonDefaultsStore(const Path& file, Log log) : path_(file), log_(std::move(log)), file_(file) {
    (void)file_.members();
    if (file_.isDamaged()) sayStateOf(file_.setAsideIfDamaged(kPatience));
}

// NOLINTNEXTLINE(bugprone-exception-escape): only memory can run out, and then there is no way on
JsonDefaultsStore::~JsonDefaultsStore() {
    {
        const std::lock_guard hold(mutex_);
        ending_ = true;
    }
    queue_.reset(); // no other thread uses this from here on
    if (busy_) flush();
    if (unsynced_) syncFile(behindLinks(path_));
}

std::optional<DefaultsValue> JsonDefaultsStore::object(std::string_view key) const {
    const std::lock_guard hold(mutex_);
    if (const auto own = pending_.find(key); own != pending_.end()) return own->second;
    const auto* const text = findJson(file_.members(), key);
    return text != nullptr ? std::optional(decodeJson(*text)) : std::nullopt;
}

void JsonDefaultsStore::set(std::string_view key, DefaultsValue value) {
    change(key, std::move(value));
}

void JsonDefaultsStore::remove(std::string_view key) {
    change(key, std::nullopt);
}

void JsonDefaultsStore::change(std::string_view key, std::optional<DefaultsValue> value) {
    const std::lock_guard hold(mutex_);
    pending_.insert_or_assign(std::string(key), std::move(value));
    flush();
}

void JsonDefaultsStore::flush() {
    // After one wait in vain there is no other until the lock has been free.
    const auto changed =
        file_.change([this](JsonMembers& members) { applyPending(members); }, busy_ ? 0ms : kPatience);
    busy_ = !changed && changed.error().code == EWOULDBLOCK;
    if (changed) {
        std::erase_if(pending_, [](const auto& entry) { return !entry.second || encodeJson(*entry.second); });
        unsynced_ = unsynced_ || changed.value();
        sayStateOf(pending_.empty() ? Result<void>() : systemError(EILSEQ)); // JSON has no form for what is left
    } else {
        sayStateOf(changed.error());
    }
    if (unsynced_ || busy_) schedule();
}

void JsonDefaultsStore::applyPending(JsonMembers& members) const {
    for (const auto& [key, value] : pending_) {
        if (!value) {
            removeJson(members, key);
        } else if (auto text = encodeJson(*value)) {
            putJson(members, key, std::move(*text));
        }
    }
}

void JsonDefaultsStore::schedule() {
    if (scheduled_ || ending_) return;
    scheduled_ = true;
    if (!queue_) queue_.emplace("com.rewindle.settings");
    queue_->asyncAfter(kPauseBetweenSyncs, [this] { syncAndRetry(); });
}

void JsonDefaultsStore::syncAndRetry() {
    bool unsynced = false;
    {
        const std::lock_guard hold(mutex_);
        scheduled_ = false;
        if (busy_) flush();
        unsynced = std::exchange(unsynced_, false);
    }
    if (unsynced) syncFile(behindLinks(path_)); // nobody waits for this
}

void JsonDefaultsStore::sayStateOf(const Result<void>& outcome) {
    if (const auto aside = file_.takeSetAside()) {
        log_.warning("The settings file holds no settings; it is kept as " + aside->native() + ".");
    }
    if (busy_ && !troubled_) {
        log_.warning("Settings are not stored yet: another process keeps " + path_.native() + " locked.");
    } else if (!outcome && !troubled_) {
        log_.warning("Settings cannot be stored in " + path_.native() + " (" + outcome.error().message +
                     "); they last until the program ends.");
    }
    troubled_ = !outcome;
}

} // namespace rewindle
