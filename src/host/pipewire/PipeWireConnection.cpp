#include "host/pipewire/PipeWireConnection.h"

#include <cerrno>
#include <map>
#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>
#include <string_view>

namespace rewindle {
namespace {

// A server that is alive answers in microseconds; one that does not in this time is as good as gone.
constexpr std::chrono::milliseconds kPatience(2000);

PipeWireHandle<pw_context> makeContext(pw_loop* loop) {
    const auto configuration = PipeWireVersion::parse(pw_get_library_version()).realTimeClientConfiguration();
    auto* realTime = pw_properties_new(PW_KEY_CONFIG_NAME, configuration.c_str(), nullptr);
    PipeWireHandle<pw_context> context(pw_context_new(loop, realTime, 0));
    if (!context) context.reset(pw_context_new(loop, nullptr, 0));
    return context;
}

} // namespace

/// Everything that lives and dies with one connection.
struct PipeWireConnection::Session {
    struct Metadata {
        Session* session;
        std::string name;
        PipeWireProxy proxy;
        PipeWireHook hook; // before the proxy goes
    };

    PipeWireConnection& owner;
    PipeWireHandle<pw_core> core;
    PipeWireHandle<pw_proxy> registry;
    std::map<PipeWireGraph::ID, std::unique_ptr<Metadata>> metadata;
    PipeWireHook registryHook;
    PipeWireHook coreHook;
    PipeWireGraph graph;
    PipeWireVersion version;
    int doneSequence = -1;
    bool lost = false;
    bool ready = false; // the first picture is complete; from then on changes are told

    Session(PipeWireConnection& connection, pw_core* newCore) : owner(connection), core(newCore) {
        static const pw_core_events coreEvents = [] {
            pw_core_events events{};
            events.version = PW_VERSION_CORE_EVENTS;
            events.info = [](void* self, const pw_core_info* info) {
                if (info->version) static_cast<Session*>(self)->version = PipeWireVersion::parse(info->version);
            };
            events.done = [](void* self, std::uint32_t id, int sequence) {
                if (id == PW_ID_CORE) static_cast<Session*>(self)->doneSequence = sequence;
            };
            events.error = [](void* self, std::uint32_t id, int, int result, const char* message) {
                static_cast<Session*>(self)->handleError(id, result, message);
            };
            return events;
        }();
        static const pw_registry_events registryEvents = [] {
            pw_registry_events events{};
            events.version = PW_VERSION_REGISTRY_EVENTS;
            events.global = [](void* self, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t,
                               const spa_dict* properties) {
                static_cast<Session*>(self)->addGlobal(id, type, properties);
            };
            events.global_remove = [](void* self, std::uint32_t id) {
                static_cast<Session*>(self)->removeGlobal(id);
            };
            return events;
        }();
        pw_core_add_listener(core.get(), coreHook.get(), &coreEvents, this);
        auto* newRegistry = pw_core_get_registry(core.get(), PW_VERSION_REGISTRY, 0);
        registry.reset(reinterpret_cast<pw_proxy*>(newRegistry));
        pw_registry_add_listener(newRegistry, registryHook.get(), &registryEvents, this);
    }

    [[nodiscard]] pw_registry* asRegistry() const { return reinterpret_cast<pw_registry*>(registry.get()); }

    void handleError(std::uint32_t id, int result, const char* message) {
        owner.log_.debug("sound server error " + std::to_string(result) + ": " + (message ? message : ""));
        if (id != PW_ID_CORE || lost || result != -EPIPE) return;
        lost = true;
        graph = {};
        owner.log_.warning("[route] connection to the sound server lost");
        owner.handlers_.onLost();
    }

    void addGlobal(std::uint32_t id, std::string_view type, const spa_dict* dict) {
        const auto properties = [dict](const char* key) { return dict ? spa_dict_lookup(dict, key) : nullptr; };
        if (type == PW_TYPE_INTERFACE_Node) return tell(graph.addNode(id, properties));
        if (type == PW_TYPE_INTERFACE_Port) return tell(graph.addPort(id, properties));
        if (type == PW_TYPE_INTERFACE_Client) return tell(graph.addClient(id, properties));
        if (type == PW_TYPE_INTERFACE_Metadata) return bindMetadata(id, properties(PW_KEY_METADATA_NAME));
        if (type != PW_TYPE_INTERFACE_Link) return;
        tell(graph.addLink(id, properties));
        owner.handlers_.onLinkAdded(id);
    }

    void removeGlobal(std::uint32_t id) {
        metadata.erase(id);
        tell(graph.remove(id));
        owner.handlers_.onObjectRemoved(id);
    }

    void tell(PipeWireGraph::Change change) {
        if (ready && change == PipeWireGraph::Change::sinks) owner.handlers_.onSinksChanged();
    }

    void bindMetadata(std::uint32_t id, const char* name) {
        if (!name || (std::string_view(name) != "default" && std::string_view(name) != "settings")) return;
        static const pw_metadata_events events = [] {
            pw_metadata_events table{};
            table.version = PW_VERSION_METADATA_EVENTS;
            table.property = [](void* data, std::uint32_t subject, const char* key, const char*, const char* value) {
                auto* self = static_cast<Metadata*>(data);
                if (subject == PW_ID_CORE) self->session->setMetadata(self->name, key, value);
                return 0;
            };
            return table;
        }();
        auto* bound = pw_registry_bind(asRegistry(), id, PW_TYPE_INTERFACE_Metadata, PW_VERSION_METADATA, 0);
        if (!bound) return;
        auto entry = std::make_unique<Metadata>();
        entry->session = this;
        entry->name = name;
        entry->proxy.reset(static_cast<pw_proxy*>(bound));
        pw_metadata_add_listener(reinterpret_cast<pw_metadata*>(entry->proxy.get()), entry->hook.get(), &events,
                                 entry.get());
        metadata[id] = std::move(entry);
    }

    void setMetadata(const std::string& name, const char* key, const char* value) {
        if (!graph.setMetadata(name, key, value) || !ready) return;
        if (name == "default") {
            owner.handlers_.onDefaultSinkChanged();
        } else {
            owner.handlers_.onRateChanged();
        }
    }
};

PipeWireConnection::PipeWireConnection(PipeWireLoopQueue& queue, LogSink& log, Handlers handlers)
    : queue_(queue), log_(log, "CoreAudioTap"), handlers_(std::move(handlers)) {
    queue_.assertCurrent();
}

PipeWireConnection::~PipeWireConnection() = default;

int PipeWireConnection::connect() {
    if (isConnected()) return 0;
    session_.reset();
    if (!context_) context_ = makeContext(queue_.loop());
    if (!context_) return -errno;
    pw_core* core = pw_context_connect(context_.get(), nullptr, 0);
    if (!core) return -errno;
    session_ = std::make_unique<Session>(*this, core);
    // The first answer brings the globals, the second what the metadata among them hold.
    session_->ready = roundTrip() && roundTrip();
    if (session_->ready) return 0;
    session_->lost = true;
    return -ETIMEDOUT;
}

bool PipeWireConnection::isConnected() const {
    return session_ && !session_->lost;
}

bool PipeWireConnection::roundTrip() {
    if (!isConnected()) return false;
    const int sequence = pw_core_sync(session_->core.get(), PW_ID_CORE, 0);
    return waitFor([this, sequence] { return session_->doneSequence == sequence; });
}

bool PipeWireConnection::waitFor(const std::function<bool()>& done) {
    if (!isConnected()) return false;
    queue_.waitFor([&] { return !isConnected() || done(); }, kPatience);
    return isConnected() && done();
}

const PipeWireGraph& PipeWireConnection::graph() const {
    static const PipeWireGraph empty;
    return session_ ? session_->graph : empty;
}

pw_core* PipeWireConnection::core() const {
    return isConnected() ? session_->core.get() : nullptr;
}

PipeWireProxy PipeWireConnection::bind(PipeWireGraph::ID id, const char* type, std::uint32_t version) {
    if (!isConnected()) return nullptr;
    return PipeWireProxy(static_cast<pw_proxy*>(pw_registry_bind(session_->asRegistry(), id, type, version, 0)));
}

PipeWireVersion PipeWireConnection::serverVersion() const {
    return session_ ? session_->version : PipeWireVersion{};
}

} // namespace rewindle
