#include "host/pipewire/PipeWireGraph.h"

#include <algorithm>
#include <charconv>
#include <pipewire/keys.h>
#include <spa/utils/json.h>

namespace rewindle {
namespace {

std::string textOf(const char* value) {
    return value ? value : "";
}

std::int64_t numberOf(const char* value) {
    std::int64_t number = 0;
    const std::string_view text = value ? value : "";
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

PipeWireGraph::ID idOf(const char* value) {
    return static_cast<PipeWireGraph::ID>(numberOf(value));
}

/// The "name" in { "name": "alsa_output..." }; empty when there is none.
std::string nameInJson(const char* json) {
    if (!json) return {};
    const std::string_view text = json;
    spa_json outer;
    spa_json object;
    spa_json_init(&outer, text.data(), text.size());
    if (spa_json_enter_object(&outer, &object) <= 0) return {};
    char key[64];
    while (spa_json_get_string(&object, key, sizeof key) > 0) {
        char value[1024];
        if (spa_json_get_string(&object, value, sizeof value) <= 0) break;
        if (std::string_view(key) == "name") return value;
    }
    return {};
}

} // namespace

PipeWireGraph::Change PipeWireGraph::addNode(ID id, const Properties& properties) {
    if (textOf(properties(PW_KEY_MEDIA_CLASS)) != "Audio/Sink") return Change::none;
    Sink sink{textOf(properties(PW_KEY_NODE_NAME)), textOf(properties(PW_KEY_NODE_DESCRIPTION))};
    if (sink.description.empty()) sink.description = sink.name;
    sinks_[id] = std::move(sink);
    return Change::sinks;
}

PipeWireGraph::Change PipeWireGraph::addPort(ID id, const Properties& properties) {
    ports_[id] = Port{
        .node = idOf(properties(PW_KEY_NODE_ID)),
        .isInput = textOf(properties(PW_KEY_PORT_DIRECTION)) == "in",
        .isMonitor = textOf(properties(PW_KEY_PORT_MONITOR)) == "true",
        .index = idOf(properties(PW_KEY_PORT_ID)),
        .channel = textOf(properties(PW_KEY_AUDIO_CHANNEL)),
        .id = id,
    };
    return Change::ports;
}

PipeWireGraph::Change PipeWireGraph::addLink(ID id, const Properties& properties) {
    links_[id] = Link{idOf(properties(PW_KEY_LINK_OUTPUT_NODE)), idOf(properties(PW_KEY_LINK_OUTPUT_PORT)),
                      idOf(properties(PW_KEY_LINK_INPUT_NODE)), idOf(properties(PW_KEY_LINK_INPUT_PORT))};
    return Change::links;
}

PipeWireGraph::Change PipeWireGraph::addClient(ID id, const Properties& properties) {
    clients_[id] = numberOf(properties(PW_KEY_SEC_PID));
    return Change::none;
}

PipeWireGraph::Change PipeWireGraph::remove(ID id) {
    if (sinks_.erase(id)) return Change::sinks;
    if (ports_.erase(id)) return Change::ports;
    if (links_.erase(id)) return Change::links;
    clients_.erase(id);
    return Change::none;
}

bool PipeWireGraph::setMetadata(std::string_view metadata, const char* key, const char* value) {
    const std::string_view name = key ? key : "";
    if (metadata == "default" && (!key || name == "default.audio.sink")) {
        auto sink = nameInJson(value);
        const bool changed = sink != defaultSinkName_;
        defaultSinkName_ = std::move(sink);
        return changed;
    }
    if (metadata != "settings") return false;
    const double before = nominalRate();
    if (!key || name == "clock.rate") rate_ = static_cast<double>(numberOf(value));
    if (!key || name == "clock.force-rate") forcedRate_ = static_cast<double>(numberOf(value));
    return before != nominalRate();
}

std::optional<PipeWireGraph::ID> PipeWireGraph::defaultSink() const {
    if (defaultSinkName_.empty()) return std::nullopt;
    const auto found =
        std::ranges::find_if(sinks_, [&](const auto& entry) { return entry.second.name == defaultSinkName_; });
    if (found == sinks_.end()) return std::nullopt;
    return found->first;
}

std::vector<PipeWireGraph::Port> PipeWireGraph::portsOf(ID node, bool isInput) const {
    std::vector<Port> found;
    for (const auto& [id, port] : ports_) {
        if (port.node == node && port.isInput == isInput && (isInput || port.isMonitor)) found.push_back(port);
    }
    std::ranges::sort(found, {}, &Port::index);
    return found;
}

std::vector<PipeWireGraph::Port> PipeWireGraph::monitorPorts(ID sink) const {
    return portsOf(sink, false);
}

std::vector<PipeWireGraph::Port> PipeWireGraph::inputPorts(ID node) const {
    return portsOf(node, true);
}

std::optional<PipeWireGraph::ID> PipeWireGraph::clientOfProcess(std::int64_t pid) const {
    const auto found = std::ranges::find_if(clients_, [&](const auto& entry) { return entry.second == pid; });
    if (found == clients_.end()) return std::nullopt;
    return found->first;
}

double PipeWireGraph::nominalRate() const {
    if (forcedRate_ > 0) return forcedRate_;
    return rate_ > 0 ? rate_ : 48'000;
}

} // namespace rewindle
