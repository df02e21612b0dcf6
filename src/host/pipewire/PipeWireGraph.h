#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace rewindle {

/// What the sound server has told of its graph: the output devices, their ports, the links, and its settings.
///
/// Threads: the control queue.
class PipeWireGraph {
public:
    using ID = std::uint32_t;
    /// Gives the value of a property of a new global, or null.
    using Properties = std::function<const char*(const char* key)>;

    struct Sink {
        std::string name;        // its UID: stays the same when the device comes back
        std::string description; // what people call it
    };
    struct Port {
        ID node = 0;
        bool isInput = false;
        bool isMonitor = false;
        std::uint32_t index = 0; // within its node and direction
        std::string channel;     // "FL", "MONO", "AUX0", ...
        ID id = 0;
    };
    struct Link {
        ID outputNode = 0;
        ID outputPort = 0;
        ID inputNode = 0;
        ID inputPort = 0;
    };
    enum class Change { none, sinks, ports, links };

    Change addNode(ID id, const Properties& properties);
    Change addPort(ID id, const Properties& properties);
    Change addLink(ID id, const Properties& properties);
    Change addClient(ID id, const Properties& properties);
    Change remove(ID id);
    /// A property of the metadata object "default" or "settings"; a null key clears all, a null value one.
    /// True when it changed something that this class answers for.
    bool setMetadata(std::string_view metadata, const char* key, const char* value);

    [[nodiscard]] const std::map<ID, Sink>& sinks() const { return sinks_; }
    [[nodiscard]] const std::map<ID, Link>& links() const { return links_; }
    /// The output device on which the user's programs play; none while the server knows none.
    [[nodiscard]] std::optional<ID> defaultSink() const;
    /// Output ports on which a sink repeats what is played on it, by index.
    [[nodiscard]] std::vector<Port> monitorPorts(ID sink) const;
    [[nodiscard]] std::vector<Port> inputPorts(ID node) const;
    /// The object of a client process.
    [[nodiscard]] std::optional<ID> clientOfProcess(std::int64_t pid) const;
    /// Frames per second at which the graph runs unless a driver cannot.
    [[nodiscard]] double nominalRate() const;

private:
    [[nodiscard]] std::vector<Port> portsOf(ID node, bool isInput) const;

    std::map<ID, Sink> sinks_;
    std::map<ID, Port> ports_;
    std::map<ID, Link> links_;
    std::map<ID, std::int64_t> clients_; // process identifiers
    std::string defaultSinkName_;
    double rate_ = 0;
    double forcedRate_ = 0;
};

} // namespace rewindle
