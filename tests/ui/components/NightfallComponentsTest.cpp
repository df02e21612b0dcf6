#include "ui/UiFixture.h"
#include "ui/components/NightfallChoice.h"
#include "ui/components/NightfallDialog.h"
#include "ui/components/NightfallSlider.h"
#include "ui/components/NightfallToggle.h"

#include <QAccessible>
#include <QImage>
#include <QPointer>

namespace rewindle::test {
namespace {

using namespace Qt::StringLiterals;

class NightfallComponentsTest : public UiFixture {
protected:
    NightfallComponentsTest() { prepare(); }
    /// A window that holds the widget and, after it, something else to go to.
    template <class Widget, class... Arguments>
    Widget& shown(Arguments&&... arguments) {
        auto* const widget = new Widget(*theme, std::forward<Arguments>(arguments)..., &window);
        widget->move(20, 20);
        widget->resize(widget->sizeHint());
        present(window, {700, 120});
        return *widget;
    }
    QWidget window;
};

TEST_F(NightfallComponentsTest, ButtonsAndTogglesArePressedByEnterAndSpaceButNotByAKeyHeldDown) {
    auto& button = shown<NightfallButton>(NightfallButton::Kind::primary, u"Go"_s, NightfallGlyph::none);
    auto& toggle = shown<NightfallToggle>();
    int presses = 0;
    QObject::connect(&button, &QPushButton::clicked, &window, [&] { ++presses; });
    QObject::connect(&toggle, &QCheckBox::clicked, &window, [&] { ++presses; });
    for (QWidget* const widget : std::initializer_list<QWidget*>{&button, &toggle}) {
        for (const auto key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space}) {
            const int before = presses;
            QTest::keyClick(widget, key);
            EXPECT_EQ(presses, before + 1) << key;
        }
    }
    const int before = presses;
    QKeyEvent held(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, {}, true);
    QApplication::sendEvent(&button, &held);
    EXPECT_EQ(presses, before);
}

TEST_F(NightfallComponentsTest, SliderStepsCatchesAtZeroAndGoesBackThere) {
    auto& slider = shown<NightfallSlider>(20.0F);
    std::vector<float> chosen;
    QObject::connect(&slider, &NightfallSlider::gainChosen, &window, [&](float gain) { chosen.push_back(gain); });
    const auto key = [&](Qt::Key which) {
        QTest::keyClick(&slider, which);
        return slider.gainDB();
    };
    EXPECT_FLOAT_EQ(key(Qt::Key_Right), 0.5F);
    EXPECT_FLOAT_EQ(key(Qt::Key_PageUp), 3.5F);
    EXPECT_FLOAT_EQ(key(Qt::Key_End), 20);
    EXPECT_FLOAT_EQ(key(Qt::Key_Home), -20);
    EXPECT_FLOAT_EQ(key(Qt::Key_Delete), 0);
    EXPECT_THAT(chosen, testing::ElementsAre(0.5F, 3.5F, 20, -20, 0));

    // A click takes the knob there; near the middle it catches.
    QTest::mouseClick(&slider, Qt::LeftButton, {}, {2, slider.height() / 2});
    EXPECT_FLOAT_EQ(slider.gainDB(), -20);
    bool hasCaught = false;
    for (int x = 0; x < slider.width(); ++x) {
        QTest::mouseClick(&slider, Qt::LeftButton, {}, {x, slider.height() / 2});
        hasCaught |= slider.gainDB() == 0.0F;
        EXPECT_TRUE(slider.gainDB() == 0.0F || std::abs(slider.gainDB()) > 0.55F);
    }
    EXPECT_TRUE(hasCaught);
    EXPECT_FLOAT_EQ(slider.gainDB(), 20);
    QTest::mouseDClick(&slider, Qt::LeftButton, {}, {2, slider.height() / 2});
    EXPECT_FLOAT_EQ(slider.gainDB(), 0);
}

TEST_F(NightfallComponentsTest, SliderShowsAGainFromElsewhereWithoutChoosingIt) {
    auto& slider = shown<NightfallSlider>(20.0F);
    slider.setAccessibleName(u"Gain trim"_s);
    int choices = 0;
    QObject::connect(&slider, &NightfallSlider::gainChosen, &window, [&] { ++choices; });
    slider.setGainDB(-6.25F);
    EXPECT_EQ(slider.valueText(), u"−6.3 dB"_s);
    EXPECT_EQ(choices, 0);
    auto* const accessible = QAccessible::queryAccessibleInterface(&slider);
    EXPECT_EQ(accessible->role(), QAccessible::Slider);
    EXPECT_EQ(accessible->text(QAccessible::Value), u"−6.3 dB"_s);
    EXPECT_NEAR(accessible->valueInterface()->currentValue().toDouble(), -6.3, 1e-6);
    EXPECT_EQ(accessible->valueInterface()->maximumValue().toDouble(), 20);
    EXPECT_EQ(gainText(0.04F), u"0 dB"_s);
    EXPECT_EQ(gainText(-0.04F), u"0 dB"_s);
}

TEST_F(NightfallComponentsTest, ArrowsChooseTheNextOptionAndTabReachesTheChosenOneOnly) {
    auto& choice = shown<NightfallChoice>(QStringList{u"1 minute"_s, u"2 minutes"_s, u"3 minutes"_s});
    choice.setCurrent(1);
    std::vector<int> chosen;
    QObject::connect(&choice, &NightfallChoice::chosen, &window, [&](int index) { chosen.push_back(index); });
    window.setFocus();
    press(window, Qt::Key_Tab);
    EXPECT_EQ(window.focusWidget()->accessibleName(), u"2 minutes"_s);
    press(window, Qt::Key_Right);
    EXPECT_EQ(choice.current(), 2);
    press(window, Qt::Key_Left);
    press(window, Qt::Key_Left);
    EXPECT_THAT(chosen, testing::ElementsAre(2, 1, 0));
    EXPECT_EQ(QAccessible::queryAccessibleInterface(window.focusWidget())->role(), QAccessible::RadioButton);
}

TEST_F(NightfallComponentsTest, FocusIsSeenWhenKeysBroughtItThereAndNotAfterAClick) {
    auto& first = shown<NightfallButton>(NightfallButton::Kind::secondary, u"One"_s, NightfallGlyph::none);
    const auto showsRing = [&] {
        const QColor ring = theme->palette().focusRing;
        const QImage image = first.grab().toImage();
        return image.pixelColor(image.width() / 2, static_cast<int>(image.devicePixelRatio())) == ring;
    };
    QTest::mouseClick(&first, Qt::LeftButton);
    EXPECT_TRUE(first.hasFocus());
    EXPECT_FALSE(showsRing());
    QTest::keyClick(&first, Qt::Key_Space);
    EXPECT_TRUE(showsRing());
    first.clearFocus();
    EXPECT_FALSE(showsRing());
    first.setFocus(Qt::TabFocusReason);
    EXPECT_TRUE(showsRing());
}

TEST_F(NightfallComponentsTest, DialogIsAnsweredOnceAndRefusedWhenTheUserLeavesIt) {
    struct Case {
        const char* name;
        std::function<void(NightfallDialog&)> leave;
        std::vector<bool> answers;
    };
    for (const auto& [name, leave, expected] : {
             Case{"Enter", [](auto& dialog) { press(dialog, Qt::Key_Return); }, {true}},
             Case{"Escape", [](auto& dialog) { press(dialog, Qt::Key_Escape); }, {false}},
             Case{"the other button",
                  [](auto& dialog) { find<QPushButton>(dialog, u"Don’t Allow"_s).click(); },
                  {false}},
             Case{"close", [](auto& dialog) { dialog.close(); }, {false}},
             Case{"destruction", [](auto& dialog) { delete &dialog; }, {}} // nobody said no,
         }) {
        SCOPED_TRACE(name);
        std::vector<bool> answers;
        const QPointer dialog = askForSystemAudio(*theme, nullptr, [&](bool answer) { answers.push_back(answer); });
        setActiveWindow(dialog);
        QApplication::processEvents();
        leave(*dialog);
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_THAT(answers, testing::ElementsAreArray(expected));
        EXPECT_FALSE(dialog);
    }
}

} // namespace
} // namespace rewindle::test
