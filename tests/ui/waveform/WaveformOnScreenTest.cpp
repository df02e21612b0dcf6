#include "ui/UiFixture.h"
#include "ui/waveform/WaveformInput.h"

namespace rewindle::test {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// The waveform in the main window, which shows ten seconds of sound out of thirty.
class WaveformOnScreenTest : public UiFixture {
protected:
    WaveformOnScreenTest() {
        begin();
        for (int second = 0; second < 10; ++second)
            play(0.5F);
        openMainWindow();
        tick();
    }
    /// That much of it at that level, of which every column is full.
    void play(float level, std::size_t frames = 48'000) {
        std::vector<float> square(frames, level);
        for (std::size_t i = 0; i < square.size(); i += 2)
            square[i] = -level;
        hear(square);
    }
    WaveformViewRepresentable& widget() { return waveformWidget(); }
    [[nodiscard]] const WaveformEditor& editor() { return widget().view().editor(); }
    void click(int x) { QTest::mouseClick(&widget(), Qt::LeftButton, {}, {x, 50}); }
    QColor pixel(const QImage& picture, int x, int y) {
        const auto place = widget().mapTo(mainWindow->window(), QPoint(x, y)) * mainWindow->devicePixelRatioF();
        return picture.pixelColor(place);
    }
};

TEST_F(WaveformOnScreenTest, ShowsTheBufferThatTakesThePlaceOfAnother) {
    session->settingsManager().setRecordingDuration(RecordingDuration::oneMinute);
    settle();
    EXPECT_EQ(editor().ringBuffer(), session->sampler().ringBuffer().get());
    EXPECT_EQ(editor().timeline().xAxisMultiplier, 2);
}

TEST_F(WaveformOnScreenTest, SoundThatIsOutOfAllBoundsFillsThePicture) {
    for (const float most : {std::numeric_limits<float>::infinity(), 3e38F})
        play(most, 24'000);
    tick();
    const QImage picture = mainWindow->grab().toImage();
    const int head = static_cast<int>(editor().axis().x(editor().timeline().renderedHeadFrame));
    for (const int y : {4, widget().height() - 4})
        EXPECT_NE(pixel(picture, head - 10, y), pixel(picture, head + 20, y)) << y;
}

TEST_F(WaveformOnScreenTest, AudioComesInSmallPiecesOnlyWhileSomebodySeesIt) {
    EXPECT_EQ(hardware.pace(), DeliveryPace::live);
    mainWindow->hide();
    EXPECT_EQ(hardware.pace(), DeliveryPace::relaxed);
    mainWindow->show();
    EXPECT_EQ(hardware.pace(), DeliveryPace::live);
    mainWindow.reset();
    EXPECT_EQ(hardware.pace(), DeliveryPace::relaxed);
}

TEST_F(WaveformOnScreenTest, KeysOfTheWindowAreTheWaveformsWhoeverHasThem) {
    EXPECT_TRUE(widget().hasFocus()) << "without a click";
    for (const auto& name : {u"Pause live follow"_s, u"Save"_s, u"Settings"_s, QString()}) {
        press(*mainWindow, Qt::Key_Tab);
        EXPECT_TRUE(name.isEmpty() ? widget().hasFocus() : find<QPushButton>(*mainWindow, name).hasFocus())
            << name.toStdString();
    }
    press(*mainWindow, Qt::Key_Space);
    EXPECT_TRUE(freeze.frozen);
    auto& save = find<QPushButton>(*mainWindow, u"Save"_s);
    save.setFocus(Qt::TabFocusReason);
    press(*mainWindow, Qt::Key_A, Qt::ControlModifier);
    EXPECT_TRUE(editor().marks().hasSelection());
    press(*mainWindow, Qt::Key_Escape);
    EXPECT_FALSE(editor().marks().hasSelection());
    press(*mainWindow, Qt::Key_Home);
    EXPECT_FALSE(editor().timeline().followLive);
    EXPECT_TRUE(save.hasFocus());
    press(*mainWindow, Qt::Key_Space); // but this one is the button's
    EXPECT_TRUE(freeze.frozen);
    EXPECT_EQ(outlets.saves.size(), 1U);
    QTest::mouseClick(&find<QPushButton>(*mainWindow, u"Resume live follow"_s), Qt::LeftButton);
    EXPECT_TRUE(editor().timeline().followLive);
    click(100);
    EXPECT_TRUE(widget().hasFocus());
    press(*mainWindow, Qt::Key_A, Qt::ControlModifier);
    EXPECT_TRUE(editor().marks().hasSelection());
    press(*mainWindow, Qt::Key_S, Qt::ControlModifier);
    EXPECT_EQ(outlets.saves.size(), 2U) << "also while another is under way";
    EXPECT_EQ(outlets.saves.back(), editor().marks().selectedRange());
}

TEST_F(WaveformOnScreenTest, AKeyThatIsHeldFreezesOnceThoughItGoesUpInBetween) {
    const auto send = [&](QEvent::Type type, quint64 time, bool isRepeat = false) {
        QKeyEvent event(type, Qt::Key_Space, {}, u" "_s, isRepeat);
        event.setTimestamp(time);
        QApplication::sendEvent(&widget(), &event);
    };
    send(QEvent::KeyPress, 1'000);
    send(QEvent::KeyRelease, 1'660);
    send(QEvent::KeyPress, 1'660);
    EXPECT_TRUE(freeze.frozen);
    send(QEvent::KeyPress, 1'700, true);
    EXPECT_TRUE(freeze.frozen);
    send(QEvent::KeyRelease, 1'720);
    send(QEvent::KeyPress, 1'721);
    EXPECT_FALSE(freeze.frozen);
}

TEST_F(WaveformOnScreenTest, APressThatActivatesTheWindowOnlyDoesThat) {
    setActiveWindow(nullptr);
    click(100);
    EXPECT_FALSE(editor().marks().hasMarks());
    setActiveWindow(&*mainWindow);
    queues.clock.advance(99ms);
    click(100);
    EXPECT_FALSE(editor().marks().hasMarks()) << "the window was faster";
    queues.clock.advance(2ms);
    click(100);
    EXPECT_TRUE(editor().marks().hasMarks());

    setActiveWindow(nullptr);
    setActiveWindow(&*mainWindow);
    press(*mainWindow, Qt::Key_Escape);
    click(200);
    EXPECT_TRUE(editor().marks().hasMarks()) << "a key came in between";
    QTest::mouseClick(&widget(), Qt::LeftButton, Qt::ShiftModifier, {300, 50});
    EXPECT_TRUE(editor().marks().hasSelection());
}

TEST_F(WaveformOnScreenTest, WheelsCountStepsTouchpadsPixelsAndShiftTurnsThem) {
    struct Case {
        const char* what;
        QPoint pixels, angle;
        Qt::KeyboardModifiers modifiers;
        double x, y;
        bool precise;
        bool hasPixels = true;
    };
    for (const auto& [what, pixels, angle, modifiers, x, y, precise, hasPixels] :
         {Case{"wheel", {}, {0, 120}, {}, 0, 1, false},
          Case{"fine wheel", {}, {0, -30}, Qt::ControlModifier, 0, -0.25, false},
          Case{"wheel with Shift", {}, {0, -240}, Qt::ShiftModifier, -2, 0, false},
          Case{"tilted wheel with Shift", {}, {120, 0}, Qt::ShiftModifier, 1, 0, false},
          Case{"touchpad", {7, -3}, {56, -24}, {}, 7, -3, true},
          Case{"touchpad with Shift", {0, -3}, {0, -24}, Qt::ShiftModifier, -3, 0, true},
          Case{"touchpad that is let go", {}, {}, {}, 0, 0, false},
          Case{"wheel of a driver that calls a step 120 pixels", {0, 120}, {0, 120}, {}, 0, 1, false, false}}) {
        SCOPED_TRACE(what);
        const auto phase = angle.isNull() ? Qt::ScrollEnd : Qt::NoScrollPhase;
        const QWheelEvent event({10, 20}, {10, 20}, pixels, angle, Qt::NoButton, modifiers, phase, false);
        const auto scroll = scrollEvent(event, hasPixels);
        EXPECT_EQ(scroll.location, (Point{10, 20}));
        EXPECT_EQ(scroll.deltaX, x);
        EXPECT_EQ(scroll.deltaY, y);
        EXPECT_EQ(scroll.hasPreciseDeltas, precise);
        EXPECT_EQ(scroll.modifiers.command, modifiers.testFlag(Qt::ControlModifier));
    }
}

TEST_F(WaveformOnScreenTest, TheMiddleButtonDragsAWheelToTheSideMovesAndFingersZoomAboutThem) {
    for (int i = 0; i < 10; ++i)
        widget().view().zoomIn();
    tick();
    const double held = editor().axis().frame(100);
    QTest::mousePress(&widget(), Qt::MiddleButton, {}, {100, 50});
    QTest::mouseMove(&widget(), {150, 50});
    EXPECT_NEAR(editor().axis().frame(150), held, 1e-3);
    QTest::mouseRelease(&widget(), Qt::MiddleButton, {}, {150, 50});
    QTest::mouseMove(&widget(), {200, 50});
    EXPECT_NEAR(editor().axis().frame(150), held, 1e-3);
    EXPECT_FALSE(editor().marks().hasMarks());
    const auto aim = [&] { return editor().axis().x(editor().timeline().viewStartFrameTarget); };
    const double before = aim();
    QWheelEvent wheel({400, 50}, {400, 50}, {}, {120, 0}, Qt::NoButton, {}, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&widget(), &wheel);
    EXPECT_NEAR(aim(), before - 10, 1e-6);

    widget().view().jumpToOldest();
    const double zoom = editor().timeline().xAxisMultiplier, frame = editor().axis().frame(400);
    for (const auto& [type, value] : {std::pair(Qt::RotateNativeGesture, 90.0), {Qt::ZoomNativeGesture, 0.25}}) {
        QNativeGestureEvent event(type, QPointingDevice::primaryPointingDevice(), 2, {400, 50}, {400, 50}, {400, 50},
                                  value, {});
        QApplication::sendEvent(&widget(), &event);
    }
    EXPECT_DOUBLE_EQ(editor().timeline().xAxisMultiplier, 1.25 * zoom);
    EXPECT_NEAR(editor().axis().frame(400), frame, 1e-6);
}

} // namespace
} // namespace rewindle::test
