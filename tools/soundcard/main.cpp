// A sound card that plays nothing, for tests and demonstrations: what a session's server sees of its active ports.
//
//   sound-card ROUTE...    is there until it is ended, prints its number, and takes other routes from lines of its input
//
// A route is DIRECTION:DEVICE:NAME, "out:0:headphones": the port that one of the card's devices uses.

#include <pipewire/impl.h>
#include <pipewire/pipewire.h>
#include <spa/monitor/device.h>
#include <spa/monitor/utils.h>
#include <spa/param/param.h>
#include <spa/param/route.h>
#include <spa/pod/builder.h>

#include <array>
#include <cstdio>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct Route {
    spa_direction direction = SPA_DIRECTION_OUTPUT;
    int device = 0;
    std::string name;
};

/// The card as the server calls it.
class Card {
public:
    Card() {
        static const spa_device_methods methods{SPA_VERSION_DEVICE_METHODS, addListener, sync, enumParams, nullptr};
        device_.iface = SPA_INTERFACE_INIT(SPA_TYPE_INTERFACE_Device, SPA_VERSION_DEVICE, &methods, this);
        spa_hook_list_init(&listeners_);
        parameters_.id = SPA_PARAM_Route;
        parameters_.flags = SPA_PARAM_INFO_READ;
    }
    spa_device* device() { return &device_; }

    /// Takes over the routes, each a word, and tells whoever listens that they are others now.
    void use(const std::string& words) {
        std::istringstream text(words);
        routes_.clear();
        for (std::string word; text >> word;) {
            const auto first = word.find(':'), second = word.find(':', first + 1);
            if (second == std::string::npos) continue;
            routes_.push_back({word.starts_with("in") ? SPA_DIRECTION_INPUT : SPA_DIRECTION_OUTPUT,
                               std::atoi(word.c_str() + first + 1), word.substr(second + 1)});
        }
        parameters_.flags ^= SPA_PARAM_INFO_SERIAL;
        tell();
    }

private:
    static int addListener(void* self, spa_hook* hook, const spa_device_events* events, void* data) {
        auto& card = *static_cast<Card*>(self);
        spa_hook_list save;
        spa_hook_list_isolate(&card.listeners_, &save, hook, events, data);
        card.tell();
        spa_hook_list_join(&card.listeners_, &save);
        return 0;
    }
    static int sync(void* self, int sequence) {
        spa_device_emit_result(&static_cast<Card*>(self)->listeners_, sequence, 0, 0, nullptr);
        return 0;
    }
    static int enumParams(void* self, int sequence, uint32_t id, uint32_t start, uint32_t count, const spa_pod*) {
        auto& card = *static_cast<Card*>(self);
        for (auto i = start; id == SPA_PARAM_Route && i < card.routes_.size() && i - start < count; ++i) {
            std::array<std::byte, 512> buffer;
            spa_pod_builder builder{};
            spa_pod_builder_init(&builder, buffer.data(), buffer.size());
            const auto& route = card.routes_[i];
            auto* pod = spa_pod_builder_add_object(
                &builder, SPA_TYPE_OBJECT_ParamRoute, id, SPA_PARAM_ROUTE_index, SPA_POD_Int(static_cast<int>(i)),
                SPA_PARAM_ROUTE_direction, SPA_POD_Id(route.direction), SPA_PARAM_ROUTE_device,
                SPA_POD_Int(route.device), SPA_PARAM_ROUTE_name, SPA_POD_String(route.name.c_str()));
            const spa_result_device_params result{id, i, i + 1, static_cast<spa_pod*>(pod)};
            spa_device_emit_result(&card.listeners_, sequence, 0, SPA_RESULT_TYPE_DEVICE_PARAMS, &result);
        }
        return 0;
    }
    void tell() {
        spa_device_info info{};
        info.version = SPA_VERSION_DEVICE_INFO;
        info.change_mask = SPA_DEVICE_CHANGE_MASK_PARAMS;
        info.params = &parameters_;
        info.n_params = 1;
        spa_device_emit_info(&listeners_, &info);
    }

    std::vector<Route> routes_;
    spa_param_info parameters_{};
    spa_device device_{};
    spa_hook_list listeners_{};
};

void readRoutes(void* card, int, uint32_t) {
    std::string line;
    if (std::getline(std::cin, line)) static_cast<Card*>(card)->use(line);
}

void bound(void*, uint32_t id) {
    std::cout << id << std::endl;
}

} // namespace

int main(int argc, char** argv) {
    std::setvbuf(stdin, nullptr, _IONBF, 0); // a line that was read ahead would not wake the loop
    pw_init(&argc, &argv);
    Card card;
    std::string routes;
    for (int i = 1; i < argc; ++i)
        routes += std::string(argv[i]) + ' ';
    card.use(routes);
    auto* const loop = pw_main_loop_new(nullptr);
    auto* const context = pw_context_new(pw_main_loop_get_loop(loop), nullptr, 0);
    auto* const core = pw_context_connect(context, nullptr, 0);
    if (!core) {
        std::fputs("sound-card: no sound server\n", stderr);
        return 1;
    }
    auto* const exported = pw_core_export(core, SPA_TYPE_INTERFACE_Device, nullptr, card.device(), 0);
    static const pw_proxy_events events = [] {
        pw_proxy_events table{};
        table.version = PW_VERSION_PROXY_EVENTS;
        table.bound = bound;
        return table;
    }();
    spa_hook hook{};
    pw_proxy_add_listener(exported, &hook, &events, nullptr);
    pw_loop_add_io(pw_main_loop_get_loop(loop), 0, SPA_IO_IN, false, readRoutes, &card);
    return pw_main_loop_run(loop) < 0;
}
