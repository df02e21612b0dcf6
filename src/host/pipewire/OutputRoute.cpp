#include "host/pipewire/OutputRoute.h"

#include <cstdlib>
#include <spa/param/param.h>
#include <spa/param/route.h>
#include <spa/pod/parser.h>

namespace rewindle {

OutputRoute::OutputRoute(PipeWireConnection& connection, PipeWireGraph::ID sink, std::function<void()> onChanged)
    : connection_(connection), onChanged_(std::move(onChanged)) {
    static const pw_node_events nodeEvents = [] {
        pw_node_events events{};
        events.version = PW_VERSION_NODE_EVENTS;
        events.info = [](void* self, const pw_node_info* info) {
            static_cast<OutputRoute*>(self)->handleNodeInfo(info);
        };
        return events;
    }();
    static const pw_device_events cardEvents = [] {
        pw_device_events events{};
        events.version = PW_VERSION_DEVICE_EVENTS;
        events.info = [](void* self, const pw_device_info* info) {
            static_cast<OutputRoute*>(self)->handleCardInfo(info);
        };
        events.param = [](void* self, int, std::uint32_t id, std::uint32_t, std::uint32_t, const spa_pod* pod) {
            if (id == SPA_PARAM_Route) static_cast<OutputRoute*>(self)->handleRoute(pod);
        };
        return events;
    }();
    node_ = connection_.bind(sink, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE);
    if (!node_) return;
    pw_node_add_listener(reinterpret_cast<pw_node*>(node_.get()), nodeHook_.get(), &nodeEvents, this);
    if (!connection_.roundTrip() || cardId_ == PW_ID_ANY) return;
    card_ = connection_.bind(cardId_, PW_TYPE_INTERFACE_Device, PW_VERSION_DEVICE);
    if (!card_) return;
    pw_device_add_listener(reinterpret_cast<pw_device*>(card_.get()), cardHook_.get(), &cardEvents, this);
    ready_ =
        connection_.roundTrip() && connection_.roundTrip(); // the card's info, then the routes it made us ask for
}

void OutputRoute::handleNodeInfo(const pw_node_info* info) {
    if (!(info->change_mask & PW_NODE_CHANGE_MASK_PROPS) || !info->props) return;
    if (const char* card = spa_dict_lookup(info->props, PW_KEY_DEVICE_ID)) {
        cardId_ = static_cast<PipeWireGraph::ID>(std::strtoul(card, nullptr, 10));
    }
    if (const char* device = spa_dict_lookup(info->props, "card.profile.device")) {
        cardDevice_ = static_cast<std::int32_t>(std::strtol(device, nullptr, 10));
    }
}

void OutputRoute::handleCardInfo(const pw_device_info* info) {
    if (!(info->change_mask & PW_DEVICE_CHANGE_MASK_PARAMS)) return;
    for (std::uint32_t i = 0; i < info->n_params; ++i) {
        if (info->params[i].id != SPA_PARAM_Route || !(info->params[i].flags & SPA_PARAM_INFO_READ)) continue;
        pw_device_enum_params(reinterpret_cast<pw_device*>(card_.get()), 0, SPA_PARAM_Route, 0, UINT32_MAX, nullptr);
    }
}

void OutputRoute::handleRoute(const spa_pod* pod) {
    const auto route = parse(pod);
    if (!route || !route->isOutput || route->device != cardDevice_ || route->name == name_) return;
    name_ = route->name;
    if (ready_) onChanged_();
}

std::optional<OutputRoute::Parameter> OutputRoute::parse(const spa_pod* pod) {
    std::uint32_t direction = 0;
    Parameter route;
    const char* name = nullptr;
    const int parsed = spa_pod_parse_object(pod, SPA_TYPE_OBJECT_ParamRoute, nullptr, SPA_PARAM_ROUTE_direction,
                                            SPA_POD_Id(&direction), SPA_PARAM_ROUTE_device,
                                            SPA_POD_Int(&route.device), SPA_PARAM_ROUTE_name, SPA_POD_String(&name));
    if (parsed < 0 || !name) return std::nullopt;
    route.isOutput = direction == SPA_DIRECTION_OUTPUT;
    route.name = name;
    return route;
}

} // namespace rewindle
