#pragma once

#include "base/Observable.h"
#include "render/clock/ClockConfiguration.h"
#include "render/clock/FrameClockServices.h"
#include "render/clock/WindowVisibilityMonitor.h"

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace rewindle {

/// A window's frame clock: runs while the window can be seen and has clients, and calls each client once per tick.
///
/// Threads:   interface thread.
/// Real time: a tick that changes nothing allocates nothing.
/// Lifecycle: made by `WindowAnimationDrivers`. A client may come, go and be destroyed during a tick.
class WindowAnimationDriver : public std::enable_shared_from_this<WindowAnimationDriver> {
public:
    [[nodiscard]] static std::shared_ptr<WindowAnimationDriver> make(std::weak_ptr<AnimatedWindow> window,
                                                                     const FrameClockServices& services);
    WindowAnimationDriver(const WindowAnimationDriver&) = delete;
    WindowAnimationDriver& operator=(const WindowAnimationDriver&) = delete;

    /// The client is held weakly. One that is there already stays once.
    void addClient(const std::shared_ptr<DisplayClockClient>& client);
    /// Safe when it is not there, and from the client's destructor.
    void removeClient(const DisplayClockClient* client);

    /// Uptime in seconds; 0 before the first interaction.
    [[nodiscard]] double lastInteractionUptime() const { return lastInteractionUptime_; }
    void setLastInteractionUptime(double seconds) { lastInteractionUptime_ = seconds; }

    /// None while no clock runs.
    [[nodiscard]] const std::optional<ClockConfiguration>& currentConfiguration() const {
        return currentConfiguration_;
    }
    /// Whether a clock runs. For those who want to know when it stops, which no client is told.
    [[nodiscard]] const Observable<bool>& isRunning() const { return isRunning_; }
    /// The rate of the running display link, for the "fps" of a tick's row in the log; none without one.
    [[nodiscard]] std::optional<double> framesPerSecond() const;

private:
    struct WeakClient {
        std::weak_ptr<DisplayClockClient> client;
    };

    WindowAnimationDriver(std::weak_ptr<AnimatedWindow> window, const FrameClockServices& services);
    void observe();
    [[nodiscard]] std::optional<ClockConfiguration> desiredConfiguration() const;
    void updateConfiguration();
    void start(ClockConfiguration configuration);
    void startDisplayLink(AnimationClockMode mode);
    void startTimer();
    void displayLinkFired();
    void timerFired();
    template <class Tick>
    void tickClients(const Tick& tick);
    [[nodiscard]] int liveClientCount() const;
    [[nodiscard]] std::string stateDetail() const;

    std::weak_ptr<AnimatedWindow> window_;
    const FrameClockServices services_;
    WindowVisibilityMonitor gate_;
    std::map<const DisplayClockClient*, WeakClient> clients_;
    std::unique_ptr<DisplayLink> displayLink_;
    std::unique_ptr<RepeatingTimer> timer_;
    std::optional<ClockConfiguration> currentConfiguration_;
    Observable<bool> isRunning_;
    std::array<Observation, 2> keyObservers_;
    double lastInteractionUptime_ = 0;
    std::vector<std::shared_ptr<DisplayClockClient>> ticking_; // kept for its capacity; empty between ticks
};

/// The frame clocks of all windows.
///
/// Threads: interface thread.
class WindowAnimationDrivers {
public:
    explicit WindowAnimationDrivers(const FrameClockServices& services) : services_(services) {}

    /// The window's driver, made on the first request.
    [[nodiscard]] std::shared_ptr<WindowAnimationDriver> driverFor(const std::shared_ptr<AnimatedWindow>& window);

private:
    using WeakWindow = std::weak_ptr<AnimatedWindow>;
    FrameClockServices services_;
    std::map<WeakWindow, std::shared_ptr<WindowAnimationDriver>, std::owner_less<WeakWindow>> drivers_;
};

} // namespace rewindle
