#pragma once

#include "base/Log.h"
#include "host/pipewire/PipeWireGraph.h"
#include "host/pipewire/PipeWireHandles.h"
#include "host/pipewire/PipeWireLoopQueue.h"
#include "host/pipewire/PipeWireVersion.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace rewindle {

/// The connection to the sound server, with the picture of the graph that it keeps up to date.
///
/// Threads:   the control queue, construction and destruction included. Handlers are called there, from within the
///            server's events: they must not wait for the server.
/// Lifecycle: proxies made on `core()` are destroyed before connect() is called again and before this is destroyed.
class PipeWireConnection {
public:
    struct Handlers {
        std::function<void()> onLost;
        std::function<void()> onSinksChanged;
        std::function<void()> onDefaultSinkChanged;
        std::function<void()> onRateChanged;
        std::function<void(PipeWireGraph::ID)> onLinkAdded;
        std::function<void(PipeWireGraph::ID)> onObjectRemoved;
    };

    PipeWireConnection(PipeWireLoopQueue& queue, LogSink& log, Handlers handlers);
    ~PipeWireConnection();
    PipeWireConnection(const PipeWireConnection&) = delete;
    PipeWireConnection& operator=(const PipeWireConnection&) = delete;

    /// Reaches the server if it is not reached already, and waits for its picture of the graph. 0 or a
    /// negative errno.
    int connect();
    [[nodiscard]] bool isConnected() const;
    /// Waits until the server has handled all that was asked of it. False when it did not in time or went
    /// away.
    bool roundTrip();
    /// Waits until `done` holds. False when it did not in time or the server went away.
    bool waitFor(const std::function<bool()>& done);

    [[nodiscard]] const PipeWireGraph& graph() const;
    /// Null while there is no connection.
    [[nodiscard]] pw_core* core() const;
    /// A global bound to a proxy of the interface `type`; null on failure.
    [[nodiscard]] PipeWireProxy bind(PipeWireGraph::ID id, const char* type, std::uint32_t version);
    /// 0.0.0 while there is no connection.
    [[nodiscard]] PipeWireVersion serverVersion() const;

private:
    struct Session;
    friend struct Session;

    PipeWireLoopQueue& queue_;
    Log log_;
    Handlers handlers_;
    PipeWireHandle<pw_context> context_;
    std::unique_ptr<Session> session_;
};

} // namespace rewindle
