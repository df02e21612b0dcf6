#pragma once

#include <cassert>
#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace rewindle {

/// A failure of the world outside: a number that the host gave (an errno where there is one) and one line for people.
struct Error {
    int code = 0;
    std::string message;
    friend bool operator==(const Error&, const Error&) = default;
};

/// Either a value or the reason why there is none.
template <class T, class E = Error>
class [[nodiscard]] Result {
public:
    Result(T value) : state_(std::in_place_index<0>, std::move(value)) {}
    Result(E error) : state_(std::in_place_index<1>, std::move(error)) {}

    [[nodiscard]] bool ok() const noexcept { return state_.index() == 0; }
    explicit operator bool() const noexcept { return ok(); }

    /// Requires: ok().
    [[nodiscard]] T& value() & { return assert(ok()), std::get<0>(state_); }
    [[nodiscard]] const T& value() const& { return assert(ok()), std::get<0>(state_); }
    [[nodiscard]] T&& value() && { return assert(ok()), std::get<0>(std::move(state_)); }
    /// Requires: !ok().
    [[nodiscard]] const E& error() const { return assert(!ok()), std::get<1>(state_); }

private:
    std::variant<T, E> state_;
};

/// Success, or the reason for the failure.
template <class E>
class [[nodiscard]] Result<void, E> {
public:
    Result() = default;
    Result(E error) : error_(std::move(error)) {}

    [[nodiscard]] bool ok() const noexcept { return !error_.has_value(); }
    explicit operator bool() const noexcept { return ok(); }
    /// Requires: !ok().
    [[nodiscard]] const E& error() const { return assert(error_), *error_; }

private:
    std::optional<E> error_;
};

} // namespace rewindle
