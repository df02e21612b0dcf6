// The active port of a sound card, on a real server with a card that the test plays.

#include "base/Clock.h"
#include "fakes/CapturingLogSink.h"
#include "host/pipewire/PipeWireAudioHardware.h"
#include "host/pipewire/PipeWireHandles.h"
#include "support/PrivateSession.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <pipewire/impl.h>
#include <spa/monitor/device.h>
#include <spa/monitor/utils.h>
#include <spa/param/param.h>
#include <spa/param/route.h>
#include <spa/pod/builder.h>

namespace rewindle::test {
namespace {

using namespace support;

/// A card with routes in use: which of its devices uses which.
class Card {
public:
    struct Route {
        spa_direction direction;
        std::int32_t device;
        std::string name;
    };
    explicit Card(std::vector<Route> routes) : routes_(std::move(routes)) {
        queue_.sync([this] {
            static const spa_device_methods methods{SPA_VERSION_DEVICE_METHODS, addListener, sync, enumParams,
                                                    nullptr};
            device_.iface = SPA_INTERFACE_INIT(SPA_TYPE_INTERFACE_Device, SPA_VERSION_DEVICE, &methods, this);
            spa_hook_list_init(&listeners_);
            context_.reset(pw_context_new(queue_.loop(), nullptr, 0));
            core_.reset(pw_context_connect(context_.get(), nullptr, 0));
            proxy_.reset(pw_core_export(core_.get(), SPA_TYPE_INTERFACE_Device, nullptr, &device_, 0));
            queue_.waitFor([this] { return id() != SPA_ID_INVALID; }, std::chrono::seconds(5));
        });
    }
    ~Card() {
        queue_.sync([this] {
            proxy_.reset();
            core_.reset();
            context_.reset();
        });
    }
    Card(const Card&) = delete;
    Card& operator=(const Card&) = delete;

    [[nodiscard]] std::uint32_t id() const { return pw_proxy_get_bound_id(proxy_.get()); }
    void use(std::vector<Route> routes) {
        queue_.sync([&] {
            routes_ = std::move(routes);
            parameters_.flags ^= SPA_PARAM_INFO_SERIAL; // they are others now
            tellInfo();
        });
    }

private:
    static int addListener(void* self, spa_hook* hook, const spa_device_events* events, void* data) {
        auto& card = *static_cast<Card*>(self);
        spa_hook_list save;
        spa_hook_list_isolate(&card.listeners_, &save, hook, events, data);
        card.tellInfo();
        spa_hook_list_join(&card.listeners_, &save);
        return 0;
    }
    static int sync(void* self, int sequence) {
        spa_device_emit_result(&static_cast<Card*>(self)->listeners_, sequence, 0, 0, nullptr);
        return 0;
    }
    static int enumParams(void* self, int sequence, std::uint32_t id, std::uint32_t start, std::uint32_t count,
                          const spa_pod*) {
        auto& card = *static_cast<Card*>(self);
        for (auto i = start; id == SPA_PARAM_Route && i < card.routes_.size() && i - start < count; ++i) {
            std::array<std::byte, 512> buffer;
            spa_pod_builder builder = SPA_POD_BUILDER_INIT(buffer.data(), buffer.size());
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
    void tellInfo() {
        spa_device_info info = SPA_DEVICE_INFO_INIT();
        info.change_mask = SPA_DEVICE_CHANGE_MASK_PARAMS;
        info.params = &parameters_;
        info.n_params = 1;
        spa_device_emit_info(&listeners_, &info);
    }

    PipeWireLoopQueue queue_{"card"};
    std::vector<Route> routes_; // and what follows: on the queue
    spa_param_info parameters_ = SPA_PARAM_INFO(SPA_PARAM_Route, SPA_PARAM_INFO_READ);
    spa_device device_{};
    spa_hook_list listeners_{};
    PipeWireHandle<pw_context> context_;
    PipeWireHandle<pw_core> core_;
    PipeWireProxy proxy_;
};

TEST(OutputRoute, IsThatOfTheCardsOwnDeviceAndTellsOfItsChangesAlone) {
    const PrivateSession session;
    Card card({{SPA_DIRECTION_OUTPUT, 1, "hdmi"},
               {SPA_DIRECTION_OUTPUT, 3, "speaker"},
               {SPA_DIRECTION_INPUT, 3, "microphone"}});
    session.session("add-sink", "plain");
    ASSERT_EQ(session
                  .run("pw-cli create-node adapter '{ factory.name=support.null-audio-sink node.name=jack "
                       "media.class=Audio/Sink object.linger=true card.profile.device=3 device.id=" +
                       std::to_string(card.id()) + " }'")
                  .exitCode,
              0);
    session.session("default-sink", "jack");

    CapturingLogSink log;
    SystemClock clock;
    PipeWireLoopQueue control("control"), capture("capture");
    PipeWireAudioHardware hardware(control, capture, clock, log);
    std::vector<std::string> told;
    AudioObjectID sink = 0;
    control.sync([&] {
        ASSERT_TRUE(hardware.createProcessTap({}));
        sink = hardware.defaultOutputDevice().value();
        hardware.addListener(sink, AudioProperty::outputDataSource,
                             [&] { told.push_back(hardware.dataSource(sink).value()); });
        const auto devices = hardware.devices();
        for (const auto device : devices.value()) {
            EXPECT_EQ(hardware.hasDataSource(device), device == sink);
        }
        EXPECT_EQ(hardware.dataSource(sink).value(), "speaker");
    });
    const auto toldOf = [&](std::size_t count) {
        return eventually([&] {
            bool is = false;
            control.sync([&] { is = told.size() >= count; });
            return is;
        });
    };
    card.use({{SPA_DIRECTION_OUTPUT, 1, "display"}, {SPA_DIRECTION_OUTPUT, 3, "speaker"}});
    card.use({{SPA_DIRECTION_OUTPUT, 1, "display"}, {SPA_DIRECTION_OUTPUT, 3, "headphones"}});
    EXPECT_TRUE(toldOf(1));
    card.use({{SPA_DIRECTION_OUTPUT, 3, "speaker"}});
    EXPECT_TRUE(toldOf(2));
    EXPECT_THAT(told, testing::ElementsAre("headphones", "speaker"));
}

} // namespace
} // namespace rewindle::test
