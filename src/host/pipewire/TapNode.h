#pragma once

#include "base/Log.h"
#include "base/Realtime.h"
#include "host/pipewire/PipeWireConnection.h"
#include "host/pipewire/TapDelivery.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

struct pw_filter;
struct spa_io_position;

namespace rewindle {

/// Our node in the sound server's graph: inputs that are linked to the monitor ports of one output device.
///
/// The node has no volume, no mute and no media class, so that nothing stored for streams scales what is
/// recorded, and no session manager moves it: its links are made here, and only here.
///
/// Threads: the control queue. The server calls `process` on the audio thread.
/// Errors:  start() returns a negative errno. Later trouble is reported once through `onInterrupted`.
class TapNode {
public:
    struct Setup {
        PipeWireGraph::ID sink = 0;
        std::string description;
        std::vector<PipeWireGraph::Port> monitorPorts; // at least one
        std::string passive;                           // the node's `node.passive`, which lets the sink suspend
    };

    TapNode(PipeWireConnection& connection, LogSink& log, Setup setup, TapReceiver& receiver, TapDelivery& delivery,
            std::function<void()> onInterrupted);
    ~TapNode();
    TapNode(const TapNode&) = delete;
    TapNode& operator=(const TapNode&) = delete;

    /// Makes node and links; when it returns success, what is played next arrives.
    int start();

    // What the connection tells
    void linkAdded(PipeWireGraph::ID link);
    void objectRemoved(PipeWireGraph::ID object);

private:
    int makeFilter();
    int makeLinks();
    void watchSink();
    void interrupt(const std::string& why);
    static void process(void* self, spa_io_position* position) noexcept REWINDLE_NONBLOCKING; // audio thread

    PipeWireConnection& connection_;
    const Log log_;
    const Setup setup_;
    TapReceiver& receiver_;
    TapDelivery& delivery_;
    std::function<void()> onInterrupted_; // empty once called

    struct FilterRelease {
        void operator()(pw_filter* filter) const;
    };
    PipeWireProxy sink_;
    PipeWireHook sinkHook_;
    std::unique_ptr<pw_filter, FilterRelease> filter_;
    PipeWireHook filterHook_;
    std::vector<void*> filterPorts_;      // fixed before the audio thread starts
    std::vector<const float*> cycleData_; // audio thread only
    PipeWireGraph::ID node_ = PW_ID_ANY;
    std::map<PipeWireGraph::ID, PipeWireGraph::ID> peers_; // input port of ours -> monitor port that feeds it
    std::set<PipeWireGraph::ID> links_;                    // ours, as the server numbers them
    std::vector<PipeWireProxy> linkProxies_;
};

} // namespace rewindle
