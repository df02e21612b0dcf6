#include "ui/UiFixture.h"

namespace rewindle::test {
namespace {

using namespace Qt::StringLiterals;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using Call = FakeAudioHardware::Call;

/// Collects what is drawn anew, in the window's coordinates.
class PaintedArea final : public QObject {
public:
    explicit PaintedArea(QWidget& window) : window_(window) {
        for (auto* const widget : window.findChildren<QWidget*>())
            widget->installEventFilter(this);
    }
    QRegion region;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            const auto offset = static_cast<QWidget*>(watched)->mapTo(&window_, QPoint(0, 0));
            region += static_cast<QPaintEvent*>(event)->region().translated(offset);
        }
        return QObject::eventFilter(watched, event);
    }

private:
    QWidget& window_;
};

class MainWindowTest : public UiFixture {
protected:
    WaveformWindowView& view() { return *mainWindow->rootView().waveformWindowView(); }
    QPushButton& saveButton() { return find<QPushButton>(*mainWindow, u"Save"_s); }
    /// Has the status asked for once more.
    void refresh() {
        mainWindow->hide();
        present(*mainWindow, mainWindow->size());
    }
};

TEST_F(MainWindowTest, KeysOpenSettingsAndQuitAndClosingOnlyAsksForIt) {
    auto& window = openMainWindow();
    press(window, Qt::Key_Comma, Qt::ControlModifier);
    press(window, Qt::Key_Q, Qt::ControlModifier);
    EXPECT_FALSE(window.close());
    EXPECT_TRUE(window.isVisible());
    EXPECT_THAT(told, ElementsAre("settings", "quit", "close"));
}

TEST_F(MainWindowTest, StatusIsAskedForOnlyWhileItCanBeSeen) {
    auto& window = openMainWindow();
    EXPECT_TRUE(view().isRefreshing());
    window.hide();
    EXPECT_FALSE(view().isRefreshing());
    const int requests = control.requests;
    session->settingsManager().setRecordingDuration(RecordingDuration::oneMinute); // something to tell
    settle();
    EXPECT_EQ(control.requests, requests);
    window.show();
    EXPECT_TRUE(QTest::qWaitFor([&] { return view().isRefreshing(); }));
    window.setWindowState(Qt::WindowMinimized);
    QApplication::processEvents();
    EXPECT_FALSE(view().isRefreshing());
    window.setWindowState(Qt::WindowNoState);
    EXPECT_TRUE(QTest::qWaitFor([&] { return view().isRefreshing(); }));
    StatusRefresh refresh(window, control, 1'000, [](const auto&) {});
    refresh.setCovered(true);
    EXPECT_FALSE(refresh.isActive());
    refresh.setCovered(false);
    EXPECT_TRUE(refresh.isActive());
    setConsent(AudioCaptureProbeOutcome::denied); // another page is in front now
    EXPECT_FALSE(view().isRefreshing());
}

TEST_F(MainWindowTest, RequestsDoNotPileUpAndALateReplyHarmsNobody) {
    control.isAnswering = false;
    openMainWindow();
    EXPECT_EQ(control.requests, 1);
    session->settingsManager().setRecordingDuration(RecordingDuration::oneMinute);
    settle();
    EXPECT_EQ(control.requests, 1);
    mainWindow.reset();
    control.unanswered.at(0)(control.status);
}

TEST_F(MainWindowTest, NothingIsDrawnAnewWhenNothingChanged) {
    control.isAnswering = false;
    auto& window = openMainWindow();
    control.unanswered.at(0)(control.status);
    QApplication::processEvents();
    PaintedArea painted(window);
    const auto again = [&] {
        painted.region = {};
        const auto asked = control.unanswered.size();
        EXPECT_TRUE(QTest::qWaitFor([&] { return control.unanswered.size() > asked; }));
        control.unanswered.back()(control.status);
        QApplication::processEvents();
        return painted.region.boundingRect();
    };
    EXPECT_EQ(again(), QRect());
    control.status.displayDB = {-20.0F, -9.8F};
    auto& levels = find<QWidget>(window, u"Level, left and right"_s);
    const QRect figure = again();
    EXPECT_FALSE(figure.isEmpty());
    EXPECT_TRUE(QRect(levels.mapTo(&window, QPoint(0, 0)), levels.size()).contains(figure));
    EXPECT_LT(figure.width(), levels.width()) << "the other channel's";
    control.status.deviceDescription = "Headphones";
    EXPECT_NE(again(), QRect());
}

TEST_F(MainWindowTest, SaysHowCaptureIsDoing) {
    openMainWindow();
    struct Case {
        bool running, frozen;
        const char* text;
    };
    for (const auto& [running, frozen, text] :
         {Case{true, false, "Listening to Built-in Audio"}, Case{false, false, "Waiting for an output"},
          Case{true, true, "Paused"}}) {
        control.status.running = running;
        control.status.frozen = frozen;
        refresh();
        EXPECT_THAT(visibleTexts(*mainWindow), Contains(text));
    }
    EXPECT_EQ(listeningState(control.status, false), ListeningState::stopped);
}

TEST_F(MainWindowTest, ShowsWhyCaptureHasStoppedUntilItGoesOn) {
    openMainWindow();
    const auto banner = Contains(HasSubstr("It will retry automatically."));
    EXPECT_THAT(visibleTexts(*mainWindow), Not(banner));
    hardware.refuse(Call::createTap, -111);
    switchTo(kHeadphones);
    queues.runFor(std::chrono::seconds(10));
    EXPECT_THAT(visibleTexts(*mainWindow), Contains(*session->captureErrorMessage().get()));
    EXPECT_THAT(visibleTexts(*mainWindow), banner);
    hardware.allow(Call::createTap);
    queues.runFor(std::chrono::seconds(10));
    EXPECT_THAT(visibleTexts(*mainWindow), Not(banner));
}

TEST_F(MainWindowTest, TheSaveButtonNeeds480FramesAndNoSaveUnderWayButTheKeyAlwaysSaves) {
    openMainWindow();
    for (const auto& [frames, enabled] : {std::pair(0, false), std::pair(479, false), std::pair(480, true)}) {
        control.status.retainedSeconds = frames / 48'000.0;
        refresh();
        EXPECT_EQ(saveButton().isEnabled(), enabled) << frames;
    }
    saveButton().setFocus();
    press(*mainWindow, Qt::Key_Space);
    const auto finishFirst = outlets.finishSave;
    press(*mainWindow, Qt::Key_S, Qt::ControlModifier);
    ASSERT_EQ(outlets.saves.size(), 2U);
    finishFirst(std::filesystem::path("/clips/one.wav"));
    EXPECT_FALSE(find<QPushButton>(*mainWindow, u"Saving…"_s).isEnabled());
    outlets.finishSave(std::filesystem::path("/clips/two.wav"));
    EXPECT_TRUE(saveButton().isEnabled());
    EXPECT_TRUE(saveButton().hasFocus());
}

TEST_F(MainWindowTest, ASavedClipIsNamedAndCanBeRevealedAndAFailureIsToldInItsOwnWords) {
    openMainWindow();
    view().save();
    outlets.tellProgress(0.429);
    EXPECT_THAT(visibleTexts(*mainWindow), Contains("Saving… 42 %"));
    outlets.finishSave(std::filesystem::path("/clips/one.wav"));
    EXPECT_THAT(visibleTexts(*mainWindow), Contains("Saved one.wav"));
    find<QPushButton>(*mainWindow, u"Reveal"_s).click();
    EXPECT_THAT(told, ElementsAre("reveal /clips/one.wav"));

    view().save();
    outlets.finishSave(WaveformExportError::writeFailed({28, "No space left on device"}));
    EXPECT_THAT(visibleTexts(*mainWindow), Contains("Could not write the audio file: No space left on device"));
    EXPECT_EQ(view().exportErrorMessage(), "Could not write the audio file: No space left on device");

    view().save();
    mainWindow.reset();
    outlets.tellProgress(0.9);
    outlets.finishSave(std::filesystem::path("/clips/late.wav")); // nobody is there to be told
}

TEST_F(MainWindowTest, LevelIsShownAsFiguresOrInTheStripAsTheSettingSays) {
    openMainWindow();
    for (const bool isStrip : {true, false}) {
        session->settingsManager().setShowLevelMeter(isStrip);
        QApplication::processEvents();
        std::vector<QString> visible;
        for (const auto* const widget : mainWindow->findChildren<QWidget*>())
            if (widget->isVisible() && widget->accessibleName().startsWith(u"Level"))
                visible.push_back(widget->accessibleName());
        EXPECT_THAT(visible, ElementsAre(isStrip ? u"Level meter"_s : u"Level, left and right"_s));
    }
}

TEST_F(MainWindowTest, OnboardingComesFirstOnceAndLeadsToTheMainScreen) {
    defaults.stored(RootView::kOnboardingKey, false);
    auto& window = openMainWindow({480, 200});
    EXPECT_TRUE(window.rootView().showOnboarding());
    for (int panel = 0; panel < 3; ++panel) {
        EXPECT_FALSE(defaults.flag(RootView::kOnboardingKey));
        press(window, Qt::Key_Return); // Next, Next, Get started
    }
    EXPECT_TRUE(defaults.flag(RootView::kOnboardingKey));
    EXPECT_FALSE(window.rootView().showOnboarding());
    EXPECT_TRUE(view().isVisible());
    mainWindow.reset();
    EXPECT_FALSE(openMainWindow().rootView().showOnboarding());
}

TEST_F(MainWindowTest, PermissionPageFollowsTheConsentAndLeadsToIt) {
    consent = AudioCaptureProbeOutcome::noEntry;
    defaults.remove(PermissionStore::kFlowKey);
    auto& window = openMainWindow();
    EXPECT_THAT(visibleTexts(window), Contains("System audio access is required to capture what your computer is "
                                               "playing. Tap Allow when rewindle asks."));
    consent = AudioCaptureProbeOutcome::denied; // the user's answer
    find<QPushButton>(window, u"Continue"_s).click();
    EXPECT_THAT(visibleTexts(window),
                Contains("System audio access is required to capture what your computer is playing. Enable rewindle "
                         "under System Audio Recording in Settings, then tap Recheck."));
    find<QPushButton>(window, u"Recheck"_s).click();
    EXPECT_THAT(visibleTexts(window), Contains("Access is still off. Make sure that rewindle is enabled under System "
                                               "Audio Recording, then recheck."));
    find<QPushButton>(window, u"Open Settings"_s).click();
    EXPECT_FALSE(workspace.opened.empty());
    consent = AudioCaptureProbeOutcome::granted;
    find<QPushButton>(window, u"Recheck"_s).click();
    settle();
    EXPECT_TRUE(view().isVisible());
}

TEST_F(MainWindowTest, ShowsTheMainScreenAtOnceWhenThisProcessSeesAccessAndTheOtherPageIfAFreshOneDoesNot) {
    control.status.running = false;
    makeSession(); // access is being checked
    auto& window = openMainWindow();
    EXPECT_TRUE(view().isVisible());
    EXPECT_THAT(visibleTexts(window), Contains("Waiting for an output"));
    EXPECT_FALSE(session->sampler().isRunning().get());
    consent = AudioCaptureProbeOutcome::denied;
    session->permission().reconcileOnLaunch();
    EXPECT_THAT(visibleTexts(window), Contains("System audio access is off"));

    mainWindow.reset();
    makeSession();
    auto& other = openMainWindow();
    EXPECT_THAT(visibleTexts(other), Contains("One moment…"));
    session->permission().reconcileOnLaunch();
    EXPECT_EQ(other.focusWidget(), &find<QPushButton>(other, u"Open Settings"_s));
}

} // namespace
} // namespace rewindle::test
