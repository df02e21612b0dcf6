#pragma once

#include "platform/DefaultsStore.h"

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace rewindle::test {

/// Settings in memory. Setting up what an earlier run stored is done with `stored`; `writes` are the program's.
class FakeDefaultsStore final : public DefaultsStore {
public:
    using Values = std::map<std::string, DefaultsValue, std::less<>>;

    FakeDefaultsStore() = default;
    explicit FakeDefaultsStore(Values stored) : values_(std::move(stored)) {}

    [[nodiscard]] std::optional<DefaultsValue> object(std::string_view key) const override {
        const std::lock_guard hold(mutex_);
        const auto found = values_.find(key);
        return found == values_.end() ? std::nullopt : std::optional(found->second);
    }
    void set(std::string_view key, DefaultsValue value) override {
        const std::lock_guard hold(mutex_);
        writes_.emplace_back(key);
        values_.insert_or_assign(std::string(key), std::move(value));
    }
    void remove(std::string_view key) override {
        const std::lock_guard hold(mutex_);
        writes_.emplace_back("-" + std::string(key));
        if (const auto found = values_.find(key); found != values_.end()) values_.erase(found);
    }

    /// Puts a value there as an earlier run would have; not among the writes.
    void stored(std::string_view key, DefaultsValue value) {
        const std::lock_guard hold(mutex_);
        values_.insert_or_assign(std::string(key), std::move(value));
    }
    [[nodiscard]] Values values() const {
        const std::lock_guard hold(mutex_);
        return values_;
    }
    /// The keys that were written since the last call, in order; "-key" for a removal.
    std::vector<std::string> takeWrites() {
        const std::lock_guard hold(mutex_);
        return std::exchange(writes_, {});
    }

private:
    mutable std::mutex mutex_;
    Values values_;
    std::vector<std::string> writes_;
};

} // namespace rewindle::test
