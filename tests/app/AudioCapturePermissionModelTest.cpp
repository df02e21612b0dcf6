#include "app/AudioCapturePermissionModel.h"
#include "fakes/CapturingLogSink.h"
#include "fakes/FakeConsent.h"
#include "fakes/FakeDefaultsStore.h"
#include "fakes/FakeDesktop.h"

#include <gmock/gmock.h>

#include <deque>
#include <optional>

namespace rewindle::test {
namespace {

using testing::ElementsAre;
using State = AudioCaptureAccessState;
using Outcome = AudioCaptureProbeOutcome;

constexpr auto kFlow = "com.rewindle.hasCompletedAudioCapturePermissionFlow";
constexpr auto kOlderFlow = "com.rewindle.hasCompletedScreenCapturePermissionFlow";

/// The model, with children and a user who answer when the test says so.
class AudioCapturePermissionModelTest : public testing::Test {
protected:
    AudioCapturePermissionModelTest() { defaults.stored(kFlow, true); }

    void make() {
        const auto later = [](auto& replies) { return [&](auto reply) { replies.push_back(std::move(reply)); }; };
        model.emplace(defaults,
                      AudioCapturePermissionModel::Operations{[this] { return stored == Outcome::granted; },
                                                              [this](const auto& reply) { reply(stored); },
                                                              later(questions), later(children)},
                      workspace, Log(log, "M"));
    }
    /// A model after its launch reconciliation.
    void launch(Outcome outcome) {
        make();
        model->reconcileOnLaunch();
        childSays(stored = outcome);
    }
    static void answer(std::deque<AudioCaptureProbe::Reply>& replies, Outcome outcome) {
        ASSERT_FALSE(replies.empty());
        const auto reply = std::move(replies.front());
        replies.pop_front();
        reply(outcome);
    }
    void childSays(Outcome outcome) { answer(children, outcome); }
    void userSays(Outcome outcome) { answer(questions, outcome); }
    void returnToForeground(Outcome outcome) {
        model->foregroundCheck(note());
        childSays(outcome);
    }
    void consentBecomes(Outcome outcome) {
        stored = outcome;
        model->consentChanged();
    }
    /// A completion that notes the state it finds.
    AudioCapturePermissionModel::Completion note() {
        return [this] { completions.push_back(state()); };
    }
    [[nodiscard]] State state() const { return model->state().get(); }
    [[nodiscard]] bool stillOff() const { return model->recheckFoundAccessStillOff().get(); }

    FakeDefaultsStore defaults;
    FakeWorkspace workspace;
    CapturingLogSink log;
    Outcome stored = Outcome::noEntry;
    std::deque<AudioCaptureProbe::Reply> questions; // not answered yet
    std::deque<AudioCaptureProbe::Reply> children;  // still running
    std::vector<State> completions;
    std::optional<AudioCapturePermissionModel> model;
};

TEST_F(AudioCapturePermissionModelTest, LaunchTakesAFreshAnswerOnceTheUserHasBeenAsked) {
    for (const auto& [outcome, expected] : {std::pair(Outcome::granted, State::granted),
                                            {Outcome::denied, State::needsSystemSettings},
                                            {Outcome::noEntry, State::firstRun}}) {
        SCOPED_TRACE(static_cast<int>(outcome));
        make();
        model->reconcileOnLaunch(note());
        EXPECT_EQ(state(), State::checking);
        model->foregroundCheck(); // the window came up: no second child
        childSays(outcome);
        EXPECT_TRUE(children.empty());
        EXPECT_EQ(state(), expected);
        EXPECT_EQ(completions.back(), expected);
        EXPECT_EQ(defaults.flag(kFlow), outcome != Outcome::noEntry);
    }
}

TEST_F(AudioCapturePermissionModelTest, FirstStartShowsTheQuestionWithoutAChildUnlessAccessWasGrantedBefore) {
    defaults.remove(kFlow);
    make();
    model->reconcileOnLaunch(note());
    model->foregroundCheck(note());
    EXPECT_TRUE(children.empty());
    EXPECT_THAT(completions, ElementsAre(State::firstRun, State::firstRun));
    model->consentChanged(); // as after every launch: nothing is stored
    EXPECT_EQ(state(), State::firstRun);
    consentBecomes(Outcome::granted);
    EXPECT_EQ(state(), State::granted);
    EXPECT_TRUE(defaults.flag(kFlow));
}

TEST_F(AudioCapturePermissionModelTest, FlowCompletedUnderTheOlderKeyCountsAndMovesOver) {
    defaults.remove(kFlow);
    defaults.stored(kOlderFlow, true);
    launch(Outcome::granted);
    EXPECT_EQ(state(), State::granted);
    EXPECT_THAT(defaults.values(), ElementsAre(testing::Pair(kFlow, DefaultsValue(true))));
}

TEST_F(AudioCapturePermissionModelTest, RequestEndsWithTheUsersAnswerAndIsMadeOnce) {
    for (const auto& [before, answer, after] :
         {std::tuple(Outcome::noEntry, Outcome::denied, State::needsSystemSettings),
          {Outcome::denied, Outcome::granted, State::granted}}) {
        launch(before);
        completions.clear();
        model->requestAccess(note());
        model->requestAccess(note());
        model->foregroundCheck(); // closing the question brings the window to the front
        EXPECT_TRUE(children.empty());
        userSays(answer);
        EXPECT_TRUE(questions.empty());
        EXPECT_THAT(completions, ElementsAre(after, after));
        EXPECT_TRUE(defaults.flag(kFlow));
    }
}

TEST_F(AudioCapturePermissionModelTest, ReturnToTheForegroundFindsAccessRevokedAndGivenBack) {
    launch(Outcome::granted);
    model->foregroundCheck();
    model->foregroundCheck(note()); // joins the child on its way
    childSays(Outcome::granted);
    EXPECT_TRUE(children.empty());
    returnToForeground(Outcome::denied);
    returnToForeground(Outcome::granted);
    EXPECT_THAT(completions, ElementsAre(State::granted, State::needsSystemSettings, State::granted));

    returnToForeground(Outcome::noEntry);
    EXPECT_EQ(state(), State::needsSystemSettings); // revoked, too
    EXPECT_FALSE(defaults.flag(kFlow));
    returnToForeground(Outcome::noEntry);
    EXPECT_EQ(state(), State::firstRun);
}

TEST_F(AudioCapturePermissionModelTest, OnlyARecheckByTheUserSaysThatAccessIsStillOff) {
    launch(Outcome::denied);
    returnToForeground(Outcome::denied);
    EXPECT_FALSE(stillOff());
    model->foregroundCheck(); // the click on the button first brings the program to the front
    model->recheck(note());
    childSays(Outcome::denied);
    EXPECT_TRUE(children.empty());
    EXPECT_TRUE(stillOff());
    EXPECT_THAT(completions, ElementsAre(State::needsSystemSettings, State::needsSystemSettings));
    consentBecomes(Outcome::granted);
    EXPECT_FALSE(stillOff());
}

TEST_F(AudioCapturePermissionModelTest, LateAnswerOfAChildNeverOverwritesANewerOne) {
    launch(Outcome::granted);
    model->foregroundCheck();
    consentBecomes(Outcome::denied);
    EXPECT_EQ(state(), State::needsSystemSettings); // at once
    childSays(Outcome::granted);
    EXPECT_EQ(state(), State::needsSystemSettings);

    model->recheck();
    model->requestAccess();
    userSays(Outcome::granted);
    childSays(Outcome::denied);
    EXPECT_EQ(state(), State::granted);
    EXPECT_FALSE(stillOff());

    consentBecomes(Outcome::noEntry);
    EXPECT_EQ(state(), State::firstRun);
    EXPECT_FALSE(defaults.flag(kFlow));
}

TEST_F(AudioCapturePermissionModelTest, ConsentRevokedDuringLaunchIsNeverTakenForGranted) {
    make();
    std::vector<State> seen;
    const auto observation = model->state().observe([&] { seen.push_back(state()); });
    model->reconcileOnLaunch(note());
    consentBecomes(Outcome::denied); // after the child has looked
    EXPECT_EQ(state(), State::checking);
    childSays(Outcome::granted);
    EXPECT_THAT(seen, ElementsAre(State::needsSystemSettings));
    EXPECT_THAT(completions, ElementsAre(State::needsSystemSettings));
}

TEST_F(AudioCapturePermissionModelTest, AnswersAfterItsEndDoNothing) {
    launch(Outcome::denied);
    model->recheck(note());
    model->requestAccess(note());
    model.reset();
    childSays(Outcome::granted);
    userSays(Outcome::granted);
    EXPECT_THAT(completions, ElementsAre());
}

TEST_F(AudioCapturePermissionModelTest, OpensTheFirstSettingsPageThatTheDesktopAccepts) {
    const std::string page = "x-apple.systempreferences:com.apple.settings.PrivacySecurity.extension";
    const std::string older = "x-apple.systempreferences:com.apple.preference.security?Privacy";
    make();
    model->openSystemSettings();
    workspace.unparsable = {page + "?Privacy_AudioCapture"};
    model->openSystemSettings();
    workspace.refused = {page};
    model->openSystemSettings();
    EXPECT_THAT(workspace.opened, ElementsAre(page + "?Privacy_AudioCapture", page, older));
    EXPECT_EQ(log.count("No System Settings URL"), 0);
    workspace.refused.insert(older);
    model->openSystemSettings();
    EXPECT_EQ(log.count("No System Settings URL"), 1);
}

} // namespace
} // namespace rewindle::test
