#pragma once

#include "app/Actions.h"
#include "app/SessionFixture.h"
#include "fakes/FakeCaptureControl.h"
#include "ui/pages/MainWindow.h"
#include "ui/pages/SettingsWindow.h"
#include "waveform/WaveformViewFixture.h"

#include <QApplication>
#include <QLabel>
#include <QTest>

#include <set>

namespace rewindle::test {

/// Makes a window the active one, as the desktop would; with null, another program's is.
inline void setActiveWindow(QWidget* window) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations" // from Qt 6.5 on, which has nothing else without a desktop
    QApplication::setActiveWindow(window);
#pragma GCC diagnostic pop
}

/// A session of which somebody looks at the windows.
class UiFixture : public SessionFixture {
protected:
    UiFixture() {
        defaults.stored(RootView::kOnboardingKey, true);
        control.status.running = true;
        control.status.deviceUID = "speakers";
        control.status.deviceDescription = "Built-in Audio";
        control.status.durationSeconds = 300;
        control.status.retainedSeconds = 185;
        control.status.displayDB = {-12.3F, -9.8F};
        actions = {[this] { told.push_back("settings"); },
                   [this](const std::filesystem::path& path) { told.push_back("reveal " + path.string()); },
                   [this] { told.push_back("close"); }, [this] { told.push_back("quit"); },
                   [this](bool granted) { told.push_back(granted ? "allow" : "revoke"); }};
    }
    MainWindow& openMainWindow(QSize size = {1280, 200}) {
        prepare();
        mainWindow.emplace(*session, control, waveform, defaults, *theme, actions);
        return present(*mainWindow, size);
    }
    SettingsWindow& openSettings() {
        prepare();
        settingsWindow.emplace(*session, control, *theme, actions);
        return present(*settingsWindow, settingsWindow->size());
    }
    template <class Widget>
    static Widget& present(Widget& window, QSize size) {
        window.resize(size);
        window.show();
        setActiveWindow(&window);
        QApplication::processEvents();
        return window;
    }
    void prepare() {
        if (!session) begin();
        if (!theme) theme.emplace(session->themeManager());
    }

    // The waveform in the main window
    WaveformViewRepresentable& waveformWidget() { return mainWindow->rootView().waveformWindowView()->waveform(); }
    void tick() {
        queues.clock.advance(std::chrono::seconds(1));
        waveformWidget().view().displayLinkTick();
        QApplication::processEvents();
    }
    void hear(const std::vector<float>& samples) {
        hardware.play(samples, samples);
        settle();
        session->sampler().drain([] {});
        settle();
    }

    /// The visible widget of that type with that accessible name or text; the test fails when there is none.
    template <class Widget>
    static Widget& find(const QWidget& window, const QString& name) {
        for (auto* const widget : window.findChildren<Widget*>()) {
            const QString text = widget->property("text").toString();
            if (widget->isVisible() && (widget->accessibleName() == name || text == name)) return *widget;
        }
        ADD_FAILURE() << "nothing is called " << name.toStdString();
        throw std::runtime_error("no such widget");
    }
    static std::set<std::string> visibleTexts(const QWidget& window) {
        std::set<std::string> texts;
        for (const auto* const label : window.findChildren<QLabel*>())
            if (label->isVisible()) texts.insert(label->text().toStdString());
        return texts;
    }
    static void press(QWidget& window, Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QWidget* const target = window.focusWidget() ? window.focusWidget() : &window;
        QTest::keyClick(target, key, modifiers);
        QApplication::processEvents();
    }

    FakeCaptureControl control;
    Actions actions;
    std::vector<std::string> told;
    ManualTimers timers;
    FrameTimingLog timingLog{{}, queues.clock};
    WindowAnimationDrivers drivers{{queues.clock, timers, timingLog, log}};
    FakeFreeze freeze;
    FakeAudition audition;
    FakeOutlets outlets;
    WaveformServices waveform{queues.clock, drivers, timingLog, freeze, audition, outlets, outlets, outlets, {}};
    std::optional<NightfallTheme> theme;
    std::optional<MainWindow> mainWindow;
    std::optional<SettingsWindow> settingsWindow;
};

} // namespace rewindle::test
