// Loaded into the program before everything else: no cycle reaches a tap that is passive in whatever way, as with a server
// that does not run such a node beside what it listens to.

#include <dlfcn.h>
#include <pipewire/filter.h>
#include <pipewire/keys.h>

extern "C" void pw_filter_add_listener(pw_filter* filter, spa_hook* listener, const pw_filter_events* events,
                                       void* data) {
    static const auto next =
        reinterpret_cast<decltype(&pw_filter_add_listener)>(dlsym(RTLD_NEXT, "pw_filter_add_listener"));
    static auto withoutCycles = *events;
    withoutCycles.process = nullptr;
    const char* passive = pw_properties_get(pw_filter_get_properties(filter, nullptr), PW_KEY_NODE_PASSIVE);
    const bool sleeps = !passive || !spa_streq(passive, "false");
    next(filter, listener, sleeps ? &withoutCycles : events, data);
}
