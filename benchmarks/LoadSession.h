#pragma once

#include "ProcessUsage.h"
#include "support/PrivateSession.h"

#include <string>
#include <vector>

namespace rewindle::bench {

constexpr int kQuantum = 1024;
constexpr double kCyclesPerSecond = 48'000.0 / kQuantum;

/// A private session whose graph runs in cycles of `kQuantum` frames, with an output, a sine to play on it,
/// and the user's consent.
class LoadSession {
public:
    LoadSession(const support::SessionParts& parts, double secondsOfSine);

    [[nodiscard]] const support::PrivateSession& session() const { return session_; }
    [[nodiscard]] std::string folder() const { return session_.folder().string(); }
    /// Plays the sine once; returns when the output runs. Throws when it does not.
    [[nodiscard]] support::Process play() const { return play(folder() + "/sine.wav"); }
    [[nodiscard]] support::Process play(const std::string& file) const;
    /// A stock recorder of what plays.
    [[nodiscard]] support::Process record() const;
    /// Makes a sink the default and waits until the running program captures from it.
    void listenTo(const std::string& sink) const;
    /// What a program takes beside a recorder while a sine plays.
    struct BesideRecorder {
        Usage program;
        Usage recorder;
    };
    /// One row per window of time, `seconds` together. Each row is the sum of a window in which the recorder was linked
    /// to the output first, and one in which the program was: who comes first pays for waking the others.
    [[nodiscard]] std::vector<BesideRecorder> watchBesideRecorder(pid_t program, double seconds) const;
    /// Of the output: suspended, idle or running.
    [[nodiscard]] std::string state() const { return session_.session("state", "out"); }
    /// How much the running program holds.
    [[nodiscard]] double retainedSeconds() const { return std::stod(status("retained_seconds")); }

    /// The settings of somebody who has been through the questions of the first start.
    void passFirstStart(int secondsToHold = 300) const;
    /// Has the running program hear something, no matter what, faster than time passes, until it holds that much. Throws
    /// when that does not come about.
    void fill(double seconds) const;

private:
    /// One word of what the running program says of itself.
    [[nodiscard]] std::string status(const std::string& key) const;

    support::PrivateSession session_;
};

} // namespace rewindle::bench
