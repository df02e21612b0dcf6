// The application as somebody at its desktop meets it: real windows, a real mouse and keyboard, a real sound server.

#include "program/Recorder.h"
#include "support/Desktop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <optional>

namespace rewindle::test {
namespace {

constexpr auto kWindow = "rewindle";
constexpr auto kSettings = "Settings — rewindle";
constexpr auto kHidden = "rewindle keeps listening — rewindle";
constexpr auto kHeadless = "rewindle is running without a window — rewindle";
constexpr auto kQuestion = "Allow rewindle to hear this computer? — rewindle";

class Application : public testing::Test {
protected:
    Application() { session.addDefaultSink("speakers"); }

    /// What a start without any option does, for somebody who has been through the questions of the first one.
    [[nodiscard]] Recorder start(const std::string& arguments = {}, bool granted = true) const {
        return {session, RecorderStart{.arguments = arguments, .granted = granted, .capturing = granted}};
    }
    [[nodiscard]] CommandResult startAgain(const std::string& arguments = {}) const {
        return session.run(REWINDLE_BINARY " " + arguments);
    }
    void expectOnScreen(const std::string& title) const {
        EXPECT_TRUE(eventually([&] { return desktop.isOnScreen(title); })) << title;
    }
    void expectGone(const std::string& title) const {
        EXPECT_TRUE(eventually([&] { return !desktop.isOnScreen(title); })) << title;
    }
    /// Goes on as soon as the window has the keyboard.
    void press(const std::string& title, const std::string& keys) const {
        ASSERT_TRUE(eventually([&] { return desktop.keyWindow() == title; })) << desktop.keyWindow();
        desktop.press(keys);
    }
    const PrivateSession session{SessionParts{.display = true}};
    Desktop desktop{session};
};

TEST_F(Application, FirstStartLeadsFromConsentToAClipAndRunsOnBehindItsStatusItem) {
    desktop.startStatusBar();
    auto rewindle = start({}, false);
    press(kWindow, "Return"); // what it is for
    press(kWindow, "Return"); // the way to the question
    EXPECT_EQ(rewindle.totalFrames(), 0);
    ASSERT_TRUE(eventually([&] { return desktop.keyWindow() == kQuestion; })) << desktop.keyWindow();
    const auto question = desktop.area(kQuestion);
    desktop.click(kQuestion, question.width - 60, question.height - 36); // the button that agrees
    ASSERT_TRUE(eventually([&] { return rewindle.isCapturing(); })) << rewindle.log();
    waitForCapture(rewindle);

    const auto sound = noise(0.5, 1);
    play(session, padded(sound));
    press(kWindow, "ctrl+s");
    ASSERT_TRUE(eventually([&] { return clipsIn(session).size() == 1; }));
    EXPECT_TRUE(find(sound, load(*clipsIn(session).begin())).has_value());

    press(kWindow, "alt+F4");
    expectGone(kWindow);
    waitForCapture(rewindle);
    EXPECT_EQ(startAgain().exitCode, 0);
    expectOnScreen(kWindow);
    press(kWindow, "alt+F4");
    expectGone(kWindow);
    desktop.clickStatusItem();
    expectOnScreen(kWindow);

    press(kWindow, "ctrl+comma");
    ASSERT_TRUE(eventually([&] { return desktop.keyWindow() == kSettings; }));
    EXPECT_EQ(startAgain().exitCode, 0); // the window is there, but behind another one
    EXPECT_TRUE(eventually([&] { return desktop.keyWindow() == kWindow; }));
    press(kWindow, "ctrl+comma");
    press(kSettings, "Left"); // from 5 min down to 3 min
    EXPECT_TRUE(eventually([&] { return rewindle.status("duration_seconds") == "180"; }));

    EXPECT_EQ(desktop.statusMenu(), (std::vector<std::string>{"Show rewindle", "-", "Quit rewindle"}));
    desktop.chooseInStatusMenu("Quit rewindle");
    EXPECT_EQ(rewindle.process().wait(), 0);
}

TEST_F(Application, NothingIsCapturedBeforeTheQuestionIsAnsweredAndAWithdrawalCountsAtOnce) {
    std::optional<Recorder> rewindle(std::in_place, session, RecorderStart{.granted = false, .capturing = false});
    press(kWindow, "Return"); // the words of welcome
    press(kWindow, "Return");
    desktop.window(kQuestion);
    EXPECT_EQ(startAgain("quit").exitCode, 0);
    expectGone(kQuestion);
    EXPECT_FALSE(std::filesystem::exists(session.folder() / "config/rewindle/consent")) << "nobody answered";
    rewindle.emplace(session, RecorderStart{.granted = false, .capturing = false});
    press(kWindow, "Return");
    desktop.window(kQuestion);
    play(session, noise(0.5, 3));
    EXPECT_EQ(rewindle->totalFrames(), 0);

    EXPECT_EQ(startAgain("grant").exitCode, 0); // as from a terminal
    expectGone(kQuestion);
    ASSERT_TRUE(eventually([&] { return rewindle->isCapturing(); }));
    waitForCapture(*rewindle);
    for (const std::string arguments : {"", "--headless"}) {
        SCOPED_TRACE(arguments);
        EXPECT_EQ(startAgain("revoke").exitCode, 0);
        ASSERT_TRUE(eventually([&] { return rewindle->status("access") == "denied"; }));
        const auto frames = rewindle->totalFrames();
        play(session, noise(0.5, 4));
        EXPECT_EQ(rewindle->totalFrames(), frames);
        if (!arguments.empty()) break;
        EXPECT_EQ(startAgain("quit").exitCode, 0);
        rewindle.emplace(session, RecorderStart{.arguments = "--headless"});
    }
}

TEST_F(Application, OfManyStartsAtOnceOneRunsAndTheOthersHandOver) {
    std::vector<Process> starts;
    starts.reserve(4);
    for (int i = 0; i < 4; ++i)
        starts.emplace_back("exec " REWINDLE_BINARY " 2>>" + (session.folder() / "starts.log").string());
    expectOnScreen(kWindow);
    EXPECT_EQ(startAgain("quit").exitCode, 0);
    for (auto& start : starts)
        EXPECT_EQ(start.wait(), 0);
}

TEST_F(Application, WithoutAStatusBarAHiddenWindowComesBackByAnotherStart) {
    auto rewindle = start("--hidden");
    EXPECT_FALSE(desktop.isOnScreen(kWindow));
    EXPECT_EQ(startAgain("--hidden").exitCode, 0);
    EXPECT_FALSE(desktop.isOnScreen(kWindow));
    EXPECT_EQ(startAgain().exitCode, 0);
    expectOnScreen(kWindow);
    press(kWindow, "alt+F4");
    expectOnScreen(kHidden); // nobody would know otherwise
    press(kHidden, "Return");
    expectGone(kHidden);
    EXPECT_EQ(startAgain().exitCode, 0);
    press(kWindow, "alt+F4");
    expectGone(kWindow);
    EXPECT_FALSE(desktop.isOnScreen(kHidden)) << "once is enough";
    waitForCapture(rewindle);
}

TEST_F(Application, AWindowNeverTakesThePlaceOfAnInstanceWithoutOne) {
    const Recorder headless(session);
    waitForCapture(headless);
    auto second = Process("exec " REWINDLE_BINARY " 2>" + (session.folder() / "second").string());
    expectOnScreen(kHeadless);
    press(kHeadless, "Return");
    EXPECT_EQ(second.wait(), 1);
    // A click on the program's entry in a menu comes over the bus.
    EXPECT_EQ(session
                  .run("gdbus call --session -d com.rewindle.Rewindle -o /com/rewindle/Rewindle "
                       "-m org.freedesktop.Application.Activate '{}'")
                  .exitCode,
              0);
    expectOnScreen(kHeadless);
    press(kHeadless, "Return");
    expectGone(kHeadless);
    const auto hidden = startAgain("--hidden");
    EXPECT_EQ(hidden.exitCode, 1);
    EXPECT_EQ(std::ranges::count(hidden.errors, '\n'), 1) << hidden.errors;
    waitForCapture(headless);
}

TEST_F(Application, WithoutADisplayItNamesTheOtherWay) {
    const auto result = session.run("env -u DISPLAY " REWINDLE_BINARY);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(std::ranges::count(result.errors, '\n'), 1) << result.errors;
    EXPECT_NE(result.errors.find("rewindle --headless"), std::string::npos) << result.errors;
}

} // namespace
} // namespace rewindle::test
