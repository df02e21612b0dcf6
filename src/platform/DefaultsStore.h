#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace rewindle {

using DefaultsDictionary = std::map<std::string, double>;
/// Something is stored, but nothing that this program would have stored.
struct ForeignDefaultsValue {
    friend bool operator==(const ForeignDefaultsValue&, const ForeignDefaultsValue&) = default;
};
using DefaultsValue = std::variant<bool, std::int64_t, double, std::string, DefaultsDictionary, ForeignDefaultsValue>;

/// The user's settings, by key.
///
/// Threads: any.
/// Errors:  none reach the caller: what cannot be read is absent, what cannot be written is still what this process
///          reads, and the store says so in the log.
class DefaultsStore {
public:
    virtual ~DefaultsStore() = default;

    /// The value as it was stored; none when nothing is.
    [[nodiscard]] virtual std::optional<DefaultsValue> object(std::string_view key) const = 0;
    /// Survives the death of the process from the moment it returns. Never waits for the disk.
    virtual void set(std::string_view key, DefaultsValue value) = 0;
    virtual void remove(std::string_view key) = 0;

    /// The value when one of this type is stored.
    template <class T>
    [[nodiscard]] std::optional<T> value(std::string_view key) const {
        const auto stored = object(key);
        const auto* const typed = stored ? std::get_if<T>(&*stored) : nullptr;
        return typed ? std::optional<T>(*typed) : std::nullopt;
    }
    /// The flag, false when absent or no flag.
    [[nodiscard]] bool flag(std::string_view key) const { return value<bool>(key).value_or(false); }
};

} // namespace rewindle
