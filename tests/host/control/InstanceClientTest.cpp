#include "host/control/InstanceClient.h"

#include "fakes/CapturingLogSink.h"
#include "fakes/FakeCaptureControl.h"
#include "host/PrivateBus.h"
#include "host/control/DbusApplication.h"
#include "host/control/DbusControlService.h"
#include "host/control/DbusStatus.h"

#include <QDBusPendingCall>

#include <future>

namespace rewindle::test {
namespace {

const ActivationToken kToken{.xdgToken = "a-token", .startupId = "an-id_TIME5"};

/// A running instance, with a window if that is asked for, and a second start of the program.
class InstanceClientTest : public testing::Test {
protected:
    ~InstanceClientTest() override {
        service_.reset();
        for (const char* name : {"service", "client"})
            QDBusConnection::disconnectFromBus(QString::fromLatin1(name));
    }

    void startInstance(bool windowed) {
        const auto connection = bus_.connect(QStringLiteral("service"));
        service_ = std::make_unique<DbusControlService>(control_, connection, Log(log_, "Control"));
        if (windowed) {
            const auto note = [this](const char* what) {
                return [this, what](const ActivationToken& token) { heard_.emplace_back(what, token); };
            };
            new DbusApplication(*service_, connection, // goes with the service
                                {.activate = note("activate"), .actions = {{QStringLiteral("quit"), note("quit")}}});
        }
        ASSERT_EQ(service_->start(), DbusControlService::Start::controllable);
    }
    /// What the second start gets, while this thread is the instance.
    InstanceAnswer startAgain() {
        const auto client = bus_.connect(QStringLiteral("client"));
        auto answer = std::async(std::launch::async, [&] { return InstanceClient(client).activate(kToken); });
        EXPECT_TRUE(runUntil([&] { return answer.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
        return answer.get();
    }

    PrivateBus bus_;
    CapturingLogSink log_;
    FakeCaptureControl control_;
    std::unique_ptr<DbusControlService> service_;
    std::vector<std::pair<std::string, ActivationToken>> heard_;
};

TEST_F(InstanceClientTest, ShowsTheRunningInstanceOnTheUsersBehalf) {
    startInstance(true);
    EXPECT_EQ(startAgain(), InstanceAnswer::shown);
    EXPECT_TRUE(runUntil([&] { return heard_.size() == 1; }));
    EXPECT_EQ(heard_[0], std::pair(std::string("activate"), kToken));
}

TEST_F(InstanceClientTest, TellsAnInstanceWithoutAWindowFromNoInstance) {
    const auto trace = bus_.folder() + QStringLiteral("/started");
    bus_.makeActivatable(QString::fromLatin1(kControlBusName), QStringLiteral("/usr/bin/touch ") + trace);
    EXPECT_EQ(startAgain(), InstanceAnswer::noInstance);
    EXPECT_FALSE(QFile::exists(trace));
    startInstance(false);
    EXPECT_EQ(startAgain(), InstanceAnswer::headless);
    service_.reset();
    bus_.stop();
    EXPECT_EQ(startAgain(), InstanceAnswer::noBus);
}

TEST_F(InstanceClientTest, GivesUpOnAnInstanceThatDoesNotAnswer) {
    startInstance(true);
    const InstanceClient client(bus_.connect(QStringLiteral("client")), 50);
    EXPECT_EQ(client.activate(kToken), InstanceAnswer::failed); // this thread is the instance, too
}

TEST_F(InstanceClientTest, ActionsOfTheDesktopEntryAreCarriedOut) {
    startInstance(true);
    for (const char* name : {"quit", "dance"}) {
        const QVariantList arguments{QString::fromLatin1(name), QVariantList(), kToken.toPlatformData()};
        const auto answer = bus_.connect(QStringLiteral("client"))
                                .asyncCall(methodCall(kControlBusName, kControlObjectPath,
                                                      "org.freedesktop.Application", "ActivateAction", arguments));
        EXPECT_TRUE(runUntil([&] { return answer.isFinished(); }));
        EXPECT_EQ(answer.isError(), std::string(name) == "dance");
    }
    EXPECT_TRUE(runUntil([&] { return heard_.size() == 1; }));
    EXPECT_EQ(heard_[0], std::pair(std::string("quit"), kToken));
}

} // namespace
} // namespace rewindle::test
