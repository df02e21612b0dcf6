#include "ui/UiFixture.h"
#include "ui/components/NightfallDialog.h"
#include "ui/components/NightfallLabel.h"

#include <QAccessible>
#include <QImage>
#include <QRadioButton>
#include <QScrollArea>

namespace rewindle::test {
namespace {

using namespace Qt::StringLiterals;

/// What holds for every page, whatever is on it.
class PagesTest : public UiFixture {
protected:
    /// Shows one page after the other, each in a window of a session of its own, and looks at it.
    void onEveryPage(const std::function<void(QWidget&)>& look) {
        struct Page {
            const char* name;
            bool hasSeenOnboarding;
            AudioCaptureProbeOutcome consent;
            QSize size;
        };
        using enum AudioCaptureProbeOutcome;
        for (const auto& page :
             {Page{"onboarding", false, granted, {1280, 200}}, Page{"onboarding, narrow", false, granted, {480, 200}},
              Page{"first run", true, noEntry, {1280, 200}}, Page{"denied", true, denied, {1280, 238}},
              Page{"denied, narrow", true, denied, {480, 200}}, Page{"main", true, granted, {1280, 200}},
              Page{"main, narrow", true, granted, {480, 200}}, Page{"main, wide", true, granted, {3840, 238}}}) {
            SCOPED_TRACE(page.name);
            closeAll();
            defaults.stored(RootView::kOnboardingKey, page.hasSeenOnboarding);
            consent = page.consent;
            look(openMainWindow(page.size));
        }
        closeAll();
        consent = AudioCaptureProbeOutcome::granted;
        SCOPED_TRACE("settings");
        look(openSettings());
        SCOPED_TRACE("question");
        auto* const dialog = askForSystemAudio(*theme, nullptr, {});
        look(present(*dialog, dialog->size()));
        delete dialog;
    }
    void closeAll() {
        mainWindow.reset();
        settingsWindow.reset();
        theme.reset();
        session.reset();
        settle();
    }
    static bool isReachable(const QWidget& widget) {
        if (!widget.isVisible() || !widget.isEnabled() || !(widget.focusPolicy() & Qt::TabFocus)) return false;
        const auto* const option = qobject_cast<const QRadioButton*>(&widget);
        return !option || option->isChecked(); // the others are the arrows' to reach
    }
};

TEST_F(PagesTest, EveryControlIsReachedByTabAndNamedForScreenReaders) {
    onEveryPage([](QWidget& window) {
        std::set<const QWidget*> expected;
        for (const auto* const widget : window.findChildren<QWidget*>())
            if (isReachable(*widget)) expected.insert(widget);
        EXPECT_FALSE(expected.empty());
        std::set<const QWidget*> reached;
        for (std::size_t step = 0; step <= expected.size(); ++step) {
            press(window, Qt::Key_Tab);
            const auto* const focused = window.focusWidget();
            if (!focused) continue;
            reached.insert(focused);
            auto* const accessible = QAccessible::queryAccessibleInterface(const_cast<QWidget*>(focused));
            EXPECT_FALSE(accessible->text(QAccessible::Name).isEmpty());
            EXPECT_NE(accessible->role(), QAccessible::Client);
        }
        EXPECT_EQ(reached, expected);
    });
}

TEST_F(PagesTest, EveryTextFitsInItsPlace) {
    onEveryPage([](QWidget& window) {
        for (const auto* const label : window.findChildren<NightfallLabel*>()) {
            if (!label->isVisible()) continue;
            SCOPED_TRACE(label->text().toStdString());
            const bool isElided = label->minimumSizeHint().width() < label->sizeHint().width() && !label->wordWrap();
            if (!isElided && !label->wordWrap()) {
                EXPECT_GE(label->width(), label->fontMetrics().horizontalAdvance(label->text()));
            }
            EXPECT_GE(label->height(),
                      label->wordWrap() ? label->heightForWidth(label->width()) : label->fontMetrics().height());
            EXPECT_TRUE(window.rect().contains(QRect(label->mapTo(&window, QPoint(0, 0)), label->size())) ||
                        window.findChild<QScrollArea*>());
        }
        for (const auto* const button : window.findChildren<QAbstractButton*>()) {
            if (!button->isVisible()) continue;
            SCOPED_TRACE(button->accessibleName().toStdString() + button->text().toStdString());
            EXPECT_GE(button->width(), button->minimumSizeHint().width());
            EXPECT_GE(button->height(), button->minimumSizeHint().height());
        }
        for (const auto* const option : window.findChildren<QRadioButton*>())
            EXPECT_GE(option->width(),
                      option->fontMetrics().horizontalAdvance(option->accessibleName().section(u' ', -1)));
    });
}

TEST_F(PagesTest, AnotherFlavorOrAccentRecoloursWhatIsShown) {
    onEveryPage([this](QWidget& window) {
        std::vector<QImage> pictures;
        for (const auto flavor : kAllNightfallFlavors) {
            SCOPED_TRACE(rawValue(flavor));
            session->themeManager().setFlavor(flavor);
            QApplication::processEvents();
            pictures.push_back(window.grab().toImage());
            const bool isDialog = dynamic_cast<NightfallDialog*>(&window) != nullptr;
            EXPECT_EQ(pictures.back().pixelColor(1, 1).name(),
                      (isDialog ? theme->palette().card : theme->palette().window).name());
        }
        session->themeManager().setWaveformAccent(NightfallWaveformAccent::teal);
        QApplication::processEvents();
        EXPECT_NE(window.grab().toImage(), pictures.back());
        session->themeManager().setWaveformAccent(NightfallWaveformAccent::mauve);
    });
}

} // namespace
} // namespace rewindle::test
