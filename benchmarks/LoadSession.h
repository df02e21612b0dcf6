#pragma once

#include "support/PrivateSession.h"

namespace rewindle::bench {

constexpr int kQuantum = 1024;
constexpr double kCyclesPerSecond = 48'000.0 / kQuantum;

/// A private session whose graph runs in cycles of `kQuantum` frames, with one output, a sine to play on it,
/// and the user's consent.
class LoadSession {
public:
    LoadSession(const support::SessionParts& parts, double secondsOfSine);

    [[nodiscard]] const support::PrivateSession& session() const { return session_; }
    [[nodiscard]] std::string folder() const { return session_.folder().string(); }
    /// Plays the sine once; returns when the output runs. Throws when it does not.
    [[nodiscard]] support::Process play() const;
    /// A stock recorder of what plays.
    [[nodiscard]] support::Process record() const;
    /// Of the output: suspended, idle or running.
    [[nodiscard]] std::string state() const { return session_.session("state", "out"); }
    /// How much the running program holds.
    [[nodiscard]] double retainedSeconds() const;

private:
    support::PrivateSession session_;
};

} // namespace rewindle::bench
