#pragma once

#include "host/pipewire/PipeWireConnection.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

struct spa_pod;

namespace rewindle {

/// The active route of an output device's sound card (speakers, headphones, HDMI), and its changes.
///
/// Threads: the control queue.
class OutputRoute {
public:
    /// Waits until the server has told of `sink` and of the card behind it. `onChanged` is not called
    /// meanwhile.
    OutputRoute(PipeWireConnection& connection, PipeWireGraph::ID sink, std::function<void()> onChanged);
    OutputRoute(const OutputRoute&) = delete;
    OutputRoute& operator=(const OutputRoute&) = delete;

    /// None when the device has no card, or its card no routes: a network or null sink.
    [[nodiscard]] const std::optional<std::string>& name() const { return name_; }

    /// What one `Route` parameter of a card says.
    struct Parameter {
        bool isOutput = false;
        std::int32_t device = -1; // the card's number for the sink that uses the route
        std::string name;
    };
    [[nodiscard]] static std::optional<Parameter> parse(const spa_pod* pod);

private:
    void handleNodeInfo(const pw_node_info* info);
    void handleCardInfo(const pw_device_info* info);
    void handleRoute(const spa_pod* pod);

    PipeWireConnection& connection_;
    std::function<void()> onChanged_;
    PipeWireProxy node_;
    PipeWireHook nodeHook_;
    PipeWireProxy card_;
    PipeWireHook cardHook_;
    PipeWireGraph::ID cardId_ = PW_ID_ANY;
    std::int32_t cardDevice_ = -1;
    std::optional<std::string> name_;
    bool ready_ = false;
};

} // namespace rewindle
