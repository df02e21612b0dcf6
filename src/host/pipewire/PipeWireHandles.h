#pragma once

#include <memory>
#include <pipewire/pipewire.h>
#include <string>

namespace rewindle {

/// Attaches a table of event handlers to one object; takes it off when destroyed.
class PipeWireHook {
public:
    PipeWireHook() = default;
    PipeWireHook(const PipeWireHook&) = delete;
    PipeWireHook& operator=(const PipeWireHook&) = delete;
    ~PipeWireHook() { remove(); }
    void remove() {
        if (hook_.link.next) spa_hook_remove(&hook_);
        hook_ = {};
    }
    spa_hook* get() { return &hook_; }

private:
    spa_hook hook_{};
};

struct PipeWireRelease {
    void operator()(pw_context* context) const { pw_context_destroy(context); }
    void operator()(pw_core* core) const { pw_core_disconnect(core); }
    void operator()(pw_properties* properties) const { pw_properties_free(properties); }
    void operator()(pw_proxy* proxy) const { pw_proxy_destroy(proxy); }
};
template <class T>
using PipeWireHandle = std::unique_ptr<T, PipeWireRelease>;
using PipeWireProxy = PipeWireHandle<pw_proxy>;

/// Sets one property to a number.
inline void setNumber(pw_properties& properties, const char* key, std::uint32_t value) {
    pw_properties_set(&properties, key, std::to_string(value).c_str());
}

} // namespace rewindle
