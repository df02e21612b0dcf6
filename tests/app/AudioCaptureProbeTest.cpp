#include "app/AudioCaptureProbe.h"
#include "app/AudioCaptureTCCProbeChild.h"
#include "fakes/CapturingLogSink.h"
#include "fakes/FakeConsent.h"

#include <gmock/gmock.h>

namespace rewindle::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Outcome = AudioCaptureProbeOutcome;

class AudioCaptureProbeTest : public testing::Test {
protected:
    void freshProbe() { AudioCaptureProbe::freshProbe(consent, launcher, log, reply); }

    FakeConsentService consent;
    FakeProcessLauncher launcher;
    CapturingLogSink sink;
    Log log{sink, "P"};
    std::vector<Outcome> outcomes;
    AudioCaptureProbe::Reply reply = [this](Outcome outcome) { outcomes.push_back(outcome); };
};

TEST_F(AudioCaptureProbeTest, ChildsAnswerCountsBeforeThisProcesssOwn) {
    for (const int status : {0, 1, 2}) {
        consent.status = (status + 1) % 3;
        freshProbe();
        ASSERT_EQ(launcher.children.size(), 1U);
        EXPECT_EQ(launcher.children[0].program, "/usr/bin/rewindle");
        EXPECT_EQ(launcher.children[0].argument, "--tcc-audio-capture-preflight");
        launcher.finish(status);
    }
    EXPECT_THAT(outcomes, ElementsAre(Outcome::granted, Outcome::denied, Outcome::noEntry));
}

TEST_F(AudioCaptureProbeTest, WithoutAChildsAnswerThisProcesssOwnCounts) {
    for (const auto& [own, outcome] : {std::pair<std::optional<int>, Outcome>{0, Outcome::granted},
                                       {1, Outcome::denied},
                                       {2, Outcome::noEntry},
                                       {std::nullopt, Outcome::denied}}) {
        consent.status = own;
        for (const auto& exit : {Result<int>(3), Result<int>(Error{110, "timed out"})}) {
            freshProbe();
            launcher.finish(exit);
            EXPECT_EQ(outcomes.back(), outcome);
        }
        launcher.ownExecutable.reset();
        freshProbe();
        EXPECT_EQ(outcomes.back(), outcome);
        launcher.ownExecutable = "/usr/bin/rewindle";
    }
}

TEST_F(AudioCaptureProbeTest, RequestGivesTheUsersAnswerOrWhatIsStoredWhenNobodyCanBeAsked) {
    AudioCaptureProbe::request(consent, log, reply);
    AudioCaptureProbe::request(consent, log, reply);
    EXPECT_THAT(outcomes, IsEmpty());
    consent.answer(true);
    consent.answer(false);
    consent.canAsk = false;
    for (const auto& stored : {std::optional(0), std::optional(1), std::optional(2), std::optional<int>()}) {
        consent.status = stored;
        AudioCaptureProbe::request(consent, log, reply);
        EXPECT_EQ(AudioCaptureProbe::preflight(consent), stored == 0);
    }
    EXPECT_THAT(outcomes, ElementsAre(Outcome::granted, Outcome::denied, Outcome::granted, Outcome::denied,
                                      Outcome::noEntry, Outcome::noEntry));
}

TEST(AudioCaptureTCCProbeChildTest, OnlyAProbeChildEndsAtOnceWithTheStoredAnswer) {
    using namespace AudioCaptureTCCProbeChild;
    const auto load = [](std::optional<int> stored) {
        return [stored] { return std::make_unique<FakeConsentService>(stored); };
    };
    const std::string_view other[] = {"rewindle", "--tcc-audio-capture-preflight=1", "tcc-audio-capture-preflight"};
    exitIfProbeInvocation(other, [] { return ADD_FAILURE() << "loaded in vain", nullptr; });

    const std::string_view probe[] = {"rewindle", "--hidden", "--tcc-audio-capture-preflight"};
    EXPECT_EXIT(exitIfProbeInvocation(probe, load(0)), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(exitIfProbeInvocation(probe, load(2)), testing::ExitedWithCode(2), "");
    EXPECT_EXIT(exitIfProbeInvocation(probe, load(std::nullopt)), testing::ExitedWithCode(3), "");
    EXPECT_EXIT(exitIfProbeInvocation(probe, [] { return nullptr; }), testing::ExitedWithCode(3), "");
}

} // namespace
} // namespace rewindle::test
