#include "render/clock/WindowAnimationDriver.h"

#include "base/DecimalText.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace rewindle {
namespace {

constexpr std::chrono::nanoseconds kTimerInterval(16'666'667); // 1/60 s
constexpr double kTimerRate = 60;
constexpr FrameRateRange kSteadyRange{30, 60, 60};

std::string modeText(AnimationClockMode mode) {
    return mode == AnimationClockMode::vsync ? "vsync" : "steady";
}

} // namespace

std::shared_ptr<WindowAnimationDriver> WindowAnimationDriver::make(std::weak_ptr<AnimatedWindow> window,
                                                                   const FrameClockServices& services) {
    std::shared_ptr<WindowAnimationDriver> driver(new WindowAnimationDriver(std::move(window), services));
    driver->observe();
    return driver;
}

WindowAnimationDriver::WindowAnimationDriver(std::weak_ptr<AnimatedWindow> window, const FrameClockServices& services)
    : window_(std::move(window)), services_(services), gate_(window_, services) {}

/// Every call from outside keeps the driver until it returns, should a client let go of it meanwhile.
void WindowAnimationDriver::observe() {
    const auto update = [weak = weak_from_this()] {
        if (const auto driver = weak.lock()) driver->updateConfiguration();
    };
    gate_.setOnChange(update);
    if (const auto window = window_.lock()) {
        keyObservers_ = {window->observe(WindowNotification::becameKey, update),
                         window->observe(WindowNotification::resignedKey, update)};
    }
}

void WindowAnimationDriver::addClient(const std::shared_ptr<DisplayClockClient>& client) {
    clients_[client.get()] = {client};
    updateConfiguration();
}

void WindowAnimationDriver::removeClient(const DisplayClockClient* client) {
    clients_.erase(client);
    updateConfiguration();
}

std::optional<double> WindowAnimationDriver::framesPerSecond() const {
    return displayLink_ ? std::optional(displayLink_->framesPerSecond()) : std::nullopt;
}

std::optional<ClockConfiguration> WindowAnimationDriver::desiredConfiguration() const {
    if (!gate_.isVisible() || liveClientCount() == 0) return std::nullopt;
    auto mode = AnimationClockMode::steady;
    for (const auto& [id, entry] : clients_) {
        if (const auto client = entry.client.lock()) mode = std::max(mode, client->preferredClockMode());
    }
    const auto window = window_.lock();
    const bool canLink = window && window->isKey() && window->hasContentView();
    return ClockConfiguration{mode, canLink ? ClockDrive::displayLink : ClockDrive::timer};
}

void WindowAnimationDriver::updateConfiguration() {
    const auto desired = desiredConfiguration();
    if (desired == currentConfiguration_) return;
    displayLink_.reset();
    timer_.reset();
    currentConfiguration_ = desired;
    if (desired) {
        start(*desired);
    } else if (services_.timingLog.isEnabled()) {
        services_.timingLog.event("clock_stop", stateDetail());
    }
    isRunning_.set(desired.has_value());
}

void WindowAnimationDriver::start(ClockConfiguration configuration) {
    std::string pace;
    if (configuration.drive == ClockDrive::displayLink) {
        startDisplayLink(configuration.mode);
        pace = modeText(configuration.mode) + " fps=" + decimalText(framesPerSecond().value_or(0), 1);
    } else {
        startTimer();
        const auto window = window_.lock();
        const bool isKey = window && window->isKey();
        pace =
            modeText(configuration.mode) + (isKey ? "-fallback" : "-nonkey") + " fps=" + decimalText(kTimerRate, 1);
    }
    if (services_.timingLog.isEnabled())
        services_.timingLog.event("clock_start", "mode=" + pace + ' ' + stateDetail());
}

/// Requires: a window with a content view.
void WindowAnimationDriver::startDisplayLink(AnimationClockMode mode) {
    const auto range = mode == AnimationClockMode::steady ? std::optional(kSteadyRange) : std::nullopt;
    displayLink_ = window_.lock()->makeDisplayLink(range, [weak = weak_from_this()] {
        if (const auto driver = weak.lock()) driver->displayLinkFired();
    });
}

void WindowAnimationDriver::startTimer() {
    timer_ = services_.timers.make(kTimerInterval, [weak = weak_from_this()] {
        if (const auto driver = weak.lock()) driver->timerFired();
    });
}

void WindowAnimationDriver::displayLinkFired() {
    if (gate_.isVisible()) tickClients([](DisplayClockClient& client) { client.displayLinkTick(); });
    updateConfiguration();
}

void WindowAnimationDriver::timerFired() {
    const bool visible = gate_.isVisible();
    tickClients([&](DisplayClockClient& client) { client.timerTick(visible); });
    std::erase_if(clients_, [](const auto& entry) { return entry.second.client.expired(); });
    updateConfiguration();
}

/// Keeps the clients alive for the tick: during its own call one may go away, or take others with it.
template <class Tick>
void WindowAnimationDriver::tickClients(const Tick& tick) {
    auto clients = std::exchange(ticking_, {});
    for (const auto& [id, entry] : clients_) {
        if (auto client = entry.client.lock()) clients.push_back(std::move(client));
    }
    for (const auto& client : clients) {
        if (clients_.contains(client.get())) tick(*client);
    }
    clients.clear();
    ticking_ = std::move(clients);
}

int WindowAnimationDriver::liveClientCount() const {
    return static_cast<int>(
        std::ranges::count_if(clients_, [](const auto& entry) { return !entry.second.client.expired(); }));
}

std::string WindowAnimationDriver::stateDetail() const {
    const auto window = window_.lock();
    return std::string("visible=") + (gate_.isVisible() ? "1" : "0") +
           " clients=" + std::to_string(liveClientCount()) +
           (window ? std::string(" key=") + (window->isKey() ? "1" : "0") : "");
}

std::shared_ptr<WindowAnimationDriver>
WindowAnimationDrivers::driverFor(const std::shared_ptr<AnimatedWindow>& window) {
    std::erase_if(drivers_, [](const auto& entry) { return entry.first.expired(); });
    auto& driver = drivers_[window];
    if (!driver) driver = WindowAnimationDriver::make(window, services_);
    return driver;
}

} // namespace rewindle
