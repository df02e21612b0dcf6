#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace rewindle {

/// Keeps one observer attached; detaches it when destroyed. May outlive what it observes.
class Observation {
public:
    Observation() = default;
    explicit Observation(std::function<void()> detach) : detach_(std::move(detach)) {}
    Observation(Observation&& other) noexcept : detach_(std::exchange(other.detach_, nullptr)) {}
    Observation& operator=(Observation&& other) noexcept {
        if (this != &other) {
            reset();
            detach_ = std::exchange(other.detach_, nullptr);
        }
        return *this;
    }
    ~Observation() { reset(); }
    void reset() {
        if (auto detach = std::exchange(detach_, nullptr)) detach();
    }

private:
    std::function<void()> detach_;
};

/// A value that tells its observers when it changed.
///
/// Threads: one thread only, the interface thread.
/// Errors:  an observer may attach, detach or set the value again while it is called.
template <class T>
class Observable {
public:
    explicit Observable(T value = {}) : value_(std::move(value)) {}
    Observable(const Observable&) = delete;
    Observable& operator=(const Observable&) = delete;

    [[nodiscard]] const T& get() const { return value_; }

    /// Stores `value` and, when it differs from the old one, calls every observer attached at that moment.
    void set(T value) {
        if (value_ == value) return;
        value_ = std::move(value);
        const auto snapshot = *observers_;
        for (const auto& [id, observer] : snapshot) {
            if (observers_->contains(id)) observer();
        }
    }

    [[nodiscard]] Observation observe(std::function<void()> observer) const {
        const auto id = nextId_++;
        observers_->emplace(id, std::move(observer));
        return Observation([weak = std::weak_ptr(observers_), id] {
            if (const auto observers = weak.lock()) observers->erase(id);
        });
    }

private:
    using Observers = std::map<std::uint64_t, std::function<void()>>;
    T value_;
    mutable std::uint64_t nextId_ = 0; // mutable: to observe a value does not change it
    std::shared_ptr<Observers> observers_ = std::make_shared<Observers>();
};

} // namespace rewindle
