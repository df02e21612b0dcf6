#include "host/pipewire/TapNode.h"

#include <algorithm>
#include <cerrno>
#include <pipewire/filter.h>
#include <utility>

namespace rewindle {
namespace {

// As long as the sound server likes: it costs nobody anything, and what is heard later is recorded all the
// same.
constexpr const char* kLatency = "2048/48000";

std::string portName(const PipeWireGraph::Port& monitor) {
    return "input_" + (monitor.channel.empty() ? std::to_string(monitor.index) : monitor.channel);
}

} // namespace

void TapNode::FilterRelease::operator()(pw_filter* filter) const {
    pw_filter_destroy(filter);
}

TapNode::TapNode(PipeWireConnection& connection, LogSink& log, Setup setup, TapReceiver& receiver,
                 TapDelivery& delivery, std::function<void()> onInterrupted)
    : connection_(connection), log_(log, "CoreAudioTap"), setup_(std::move(setup)), receiver_(receiver),
      delivery_(delivery), onInterrupted_(std::move(onInterrupted)), cycleData_(setup_.monitorPorts.size()) {}

TapNode::~TapNode() {
    linkProxies_.clear();
    filterHook_.remove(); // what the end of the node would tell is known
    filter_.reset();      // waits for the audio thread, which uses the other members
}

int TapNode::start() {
    watchSink();
    if (const int failure = makeFilter(); failure < 0) return failure;
    return makeLinks();
}

void TapNode::watchSink() {
    static const pw_node_events events = [] {
        pw_node_events table{};
        table.version = PW_VERSION_NODE_EVENTS;
        table.info = [](void* self, const pw_node_info* info) {
            if (!(info->change_mask & PW_NODE_CHANGE_MASK_STATE)) return;
            static_cast<TapNode*>(self)->receiver_.setSinkRunning(info->state == PW_NODE_STATE_RUNNING);
        };
        return table;
    }();
    sink_ = connection_.bind(setup_.sink, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE);
    if (sink_) pw_node_add_listener(reinterpret_cast<pw_node*>(sink_.get()), sinkHook_.get(), &events, this);
}

int TapNode::makeFilter() {
    static const pw_filter_events events = [] {
        pw_filter_events table{};
        table.version = PW_VERSION_FILTER_EVENTS;
        table.state_changed = [](void* data, pw_filter_state, pw_filter_state state, const char* error) {
            auto* self = static_cast<TapNode*>(data);
            if (state == PW_FILTER_STATE_PAUSED) self->receiver_.markPaused();
            if (state == PW_FILTER_STATE_ERROR) self->interrupt(error ? error : "node failed");
        };
        table.process = TapNode::process;
        return table;
    }();
    auto* properties =
        pw_properties_new(PW_KEY_NODE_NAME, "rewindle-tap", PW_KEY_NODE_DESCRIPTION, setup_.description.c_str(),
                          PW_KEY_NODE_VIRTUAL, "true", PW_KEY_NODE_LATENCY, kLatency, PW_KEY_NODE_AUTOCONNECT,
                          "false", PW_KEY_NODE_DONT_RECONNECT, "true", "node.dont-move", "true", "node.dont-fallback",
                          "true", "state.restore-props", "false", "state.restore-target", "false", nullptr);
    pw_properties_set(properties, PW_KEY_NODE_PASSIVE, setup_.passive.c_str());
    filter_.reset(pw_filter_new(connection_.core(), setup_.description.c_str(), properties));
    if (!filter_) return -errno;
    pw_filter_add_listener(filter_.get(), filterHook_.get(), &events, this);
    for (const auto& monitor : setup_.monitorPorts) {
        auto* port =
            pw_properties_new(PW_KEY_FORMAT_DSP, "32 bit float mono audio", PW_KEY_PORT_NAME,
                              portName(monitor).c_str(), PW_KEY_AUDIO_CHANNEL, monitor.channel.c_str(), nullptr);
        filterPorts_.push_back(pw_filter_add_port(filter_.get(), PW_DIRECTION_INPUT, PW_FILTER_PORT_FLAG_MAP_BUFFERS,
                                                  1, port, nullptr, 0));
        if (!filterPorts_.back()) return -errno;
    }
    if (const int failure = pw_filter_connect(filter_.get(), PW_FILTER_FLAG_RT_PROCESS, nullptr, 0); failure < 0) {
        return failure;
    }
    const auto portsAreKnown = [this] {
        node_ = pw_filter_get_node_id(filter_.get());
        return node_ != PW_ID_ANY && connection_.graph().inputPorts(node_).size() == setup_.monitorPorts.size();
    };
    return connection_.waitFor(portsAreKnown) ? 0 : -ETIMEDOUT;
}

int TapNode::makeLinks() {
    const auto inputs = connection_.graph().inputPorts(node_);
    for (std::size_t i = 0; i < inputs.size(); ++i)
        peers_[inputs[i].id] = setup_.monitorPorts[i].id;
    for (const auto& [input, monitor] : peers_) {
        PipeWireHandle<pw_properties> properties(pw_properties_new(nullptr, nullptr));
        setNumber(*properties, PW_KEY_LINK_OUTPUT_NODE, setup_.sink);
        setNumber(*properties, PW_KEY_LINK_OUTPUT_PORT, monitor);
        setNumber(*properties, PW_KEY_LINK_INPUT_NODE, node_);
        setNumber(*properties, PW_KEY_LINK_INPUT_PORT, input);
        if (connection_.serverVersion().linksArePassive()) {
            pw_properties_set(properties.get(), PW_KEY_LINK_PASSIVE, setup_.passive == "false" ? "false" : "true");
        }
        auto* link = pw_core_create_object(connection_.core(), "link-factory", PW_TYPE_INTERFACE_Link,
                                           PW_VERSION_LINK, &properties->dict, 0);
        if (!link) return -errno;
        linkProxies_.emplace_back(static_cast<pw_proxy*>(link));
    }
    const bool linked = connection_.waitFor([this] { return links_.size() == peers_.size() || !onInterrupted_; });
    if (!linked) return -ENOLINK;
    // Links that others made before our ports had known peers.
    for (const auto& [id, link] : connection_.graph().links())
        linkAdded(id);
    return onInterrupted_ ? 0 : -ENOLINK;
}

void TapNode::linkAdded(PipeWireGraph::ID id) {
    const auto& link = connection_.graph().links().at(id);
    if (link.inputNode != node_) return;
    const auto peer = peers_.find(link.inputPort);
    if (link.outputNode == setup_.sink && peer != peers_.end() && peer->second == link.outputPort) {
        links_.insert(id);
        return;
    }
    // A link is announced before its buffers are: nothing of it has come in yet, and from here on nothing
    // does.
    receiver_.mute();
    interrupt("something other than the output device was linked to the tap");
}

void TapNode::objectRemoved(PipeWireGraph::ID object) {
    if (object == setup_.sink) receiver_.setSinkRunning(false);
    if (!links_.erase(object)) return;
    receiver_.mute(); // what is still to come is not the output's, and would stand between it and its fade-out
    interrupt("a link of the tap was removed");
}

void TapNode::interrupt(const std::string& why) {
    if (!onInterrupted_) return;
    log_.info("[route] tap interrupted: " + why);
    std::exchange(onInterrupted_, nullptr)();
}

void TapNode::process(void* self, spa_io_position* position) noexcept {
    if (!position) return;
    auto& node = *static_cast<TapNode*>(self);
    const auto& clock = position->clock;
    const auto frames = static_cast<std::uint32_t>(clock.duration);
    bool hasData = false;
    for (std::size_t i = 0; i < node.filterPorts_.size(); ++i) {
        node.cycleData_[i] = static_cast<const float*>(pw_filter_get_dsp_buffer(node.filterPorts_[i], frames));
        hasData = hasData || node.cycleData_[i];
    }
    if (!hasData) return; // nothing is linked to us: such a cycle is not silence of the output
    const double rate = clock.rate.num ? static_cast<double>(clock.rate.denom) / clock.rate.num : 0;
    node.delivery_.receive({static_cast<std::int64_t>(clock.nsec), clock.position, frames, rate}, node.cycleData_);
}

} // namespace rewindle
