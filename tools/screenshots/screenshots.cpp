// rewindle-screenshots FOLDER: draws every page of the interface, in every flavour, into one picture a page. Needs no
// display and no sound; QT_SCALE_FACTOR makes the pictures larger.

#include "screenshots/Scene.h"
#include "ui/components/NightfallDialog.h"
#include "ui/pages/MainWindow.h"
#include "ui/pages/SettingsWindow.h"

#include <QApplication>
#include <QPainter>
#include <QScrollArea>

#include <cstdio>
#include <memory>

namespace rewindle {
namespace {

using namespace Qt::StringLiterals;
using Situation = Scene::Situation;
constexpr int kGutter = 12, kSmallest = 0; // the quality that is compressed most

/// The widget as it looks in each flavour, one below the other, or side by side.
QImage contactSheet(Scene& scene, QWidget& widget, bool isSideBySide) {
    const qreal scale = widget.devicePixelRatioF();
    const QSize step = (widget.size() + QSize(kGutter, kGutter)) * scale;
    const int count = static_cast<int>(kAllNightfallFlavors.size());
    const QSize gutter = QSize(kGutter, kGutter) * scale;
    QImage sheet(gutter +
                     QSize(step.width() * (isSideBySide ? count : 1), step.height() * (isSideBySide ? 1 : count)),
                 QImage::Format_RGB32);
    sheet.fill(QColor(0x80, 0x80, 0x80));
    QPainter painter(&sheet);
    for (int index = 0; index < count; ++index) {
        scene.session().themeManager().setFlavor(kAllNightfallFlavors.at(static_cast<std::size_t>(index)));
        QApplication::processEvents();
        QImage picture = widget.grab().toImage();
        picture.setDevicePixelRatio(1);
        painter.drawImage(gutter.width() + (isSideBySide ? index * step.width() : 0),
                          gutter.height() + (isSideBySide ? 0 : index * step.height()), picture);
    }
    return sheet;
}

class Photographer {
public:
    explicit Photographer(QString folder) : folder_(std::move(folder)) {}

    void take(const QString& name, Scene& scene, QWidget& widget, bool isSideBySide = false) {
        save(name, contactSheet(scene, widget, isSideBySide));
    }
    using Preparation = std::function<void(Scene&, MainWindow&)>;
    void takeMainWindow(const QString& name, const Situation& situation, QSize size,
                        const Preparation& prepare = {}) {
        withMainWindow(situation, size, prepare, [&](Scene& scene, QWidget& window) { take(name, scene, window); });
    }
    /// The same in the flavour that the program has at first, as documents show it.
    void takeOne(const QString& name, const Situation& situation, QSize size, const Preparation& prepare = {}) {
        withMainWindow(situation, size, prepare,
                       [&](Scene&, QWidget& window) { save(name, window.grab().toImage()); });
    }
    [[nodiscard]] bool hasFailed() const { return hasFailed_; }

private:
    static void withMainWindow(const Situation& situation, QSize size, const Preparation& prepare,
                               const std::function<void(Scene&, QWidget&)>& use) {
        Scene scene(situation);
        scene.playMusic(situation.musicSeconds);
        MainWindow window(scene.session(), scene.control(), scene.waveform(), scene.defaults(), scene.theme(),
                          scene.actions());
        window.resize(size);
        window.show();
        if (prepare) prepare(scene, window);
        QApplication::processEvents();
        use(scene, window);
    }
    void save(const QString& name, const QImage& picture) {
        const QString path = folder_ + u"/"_s + name + u".png"_s;
        if (picture.save(path, "PNG", kSmallest)) return;
        std::fprintf(stderr, "rewindle-screenshots: cannot write %s\n", qPrintable(path));
        hasFailed_ = true;
    }

    QString folder_;
    bool hasFailed_ = false;
};

void saveClip(Scene& scene, MainWindow& window, const Result<std::filesystem::path, WaveformExportError>& outcome) {
    window.rootView().waveformWindowView()->save();
    scene.outlets().finishSave(outcome);
}

void takeMainWindows(Photographer& photographer) {
    constexpr QSize kStrip(1280, 200), kNarrow(480, 200), kMetered(1280, 238);
    const std::filesystem::path clip = "/home/user/Music/rewindle/rewindle-1719850000000.wav";
    const Situation denied{.consent = AudioCaptureProbeOutcome::denied};
    photographer.takeMainWindow(u"onboarding"_s, {.hasSeenOnboarding = false}, kStrip);
    photographer.takeMainWindow(u"onboarding-narrow"_s, {.hasSeenOnboarding = false}, kNarrow);
    photographer.takeMainWindow(u"permission-first-run"_s,
                                {.consent = AudioCaptureProbeOutcome::noEntry, .hasBeenAsked = false}, kStrip);
    photographer.takeMainWindow(u"permission-denied"_s, denied, kStrip);
    photographer.takeMainWindow(u"permission-denied-narrow"_s, denied, kNarrow, [](Scene& scene, MainWindow&) {
        scene.session().permission().recheck();
        scene.settle();
    });
    photographer.takeMainWindow(u"main"_s, {}, kStrip);
    photographer.takeMainWindow(u"main-level-meter"_s, {.showLevelMeter = true}, kMetered);
    photographer.takeMainWindow(u"main-saved"_s, {}, kStrip,
                                [&](Scene& scene, MainWindow& window) { saveClip(scene, window, clip); });
    photographer.takeMainWindow(u"main-error"_s, {}, kStrip, [](Scene& scene, MainWindow&) { scene.breakCapture(); });
    photographer.takeMainWindow(
        u"main-narrow"_s, {.showLevelMeter = true}, kNarrow, [](Scene& scene, MainWindow& window) {
            scene.breakCapture();
            saveClip(scene, window, WaveformExportError::writeFailed({28, "No space left on device"}));
        });
}

/// The waveform as it is followed, looked at, and marked.
void takeWaveforms(Photographer& photographer) {
    constexpr QSize kSize(1280, 238);
    const Situation full{.musicSeconds = 300};
    const auto with = [](const std::function<void(WaveformView&)>& act) {
        return [act](Scene& scene, MainWindow& window) {
            auto& view = window.rootView().waveformWindowView()->waveform().view();
            scene.rest(view);
            act(view);
            scene.rest(view);
        };
    };
    const auto zoom = [](WaveformView& view, int steps) {
        for (int step = 0; step < steps; ++step)
            view.zoomIn();
    };
    const auto lookBack = [=](WaveformView& view) {
        view.pauseLiveFollow();
        zoom(view, 3);
        view.scrollWheel({{600, 90}, 60, 0, true, {}});
    };
    const auto select = [](WaveformView& view) {
        MouseEvent event{{540, 60}, {}, 1};
        view.mouseDown(event);
        event.location.x = 822;
        view.mouseDragged(event);
        view.mouseUp(event);
    };
    photographer.takeOne(u"waveform-live"_s, full, kSize);
    photographer.takeOne(u"waveform-empty"_s, {.musicSeconds = 0}, kSize);
    photographer.takeOne(u"waveform-paused"_s, full, kSize, with(lookBack));
    photographer.takeOne(u"waveform-zoomed"_s, full, kSize, with([=](WaveformView& view) {
                             lookBack(view);
                             zoom(view, 8);
                         }));
    photographer.takeOne(u"waveform-selection"_s, full, kSize, with(select));
}

void takeSettings(Photographer& photographer) {
    Scene scene({.showLevelMeter = true});
    SettingsWindow window(scene.session(), scene.control(), scene.theme(), scene.actions());
    window.show();
    QApplication::processEvents();
    window.resize(window.width(), window.findChild<QScrollArea*>()->widget()->sizeHint().height());
    QApplication::processEvents();
    photographer.take(u"settings"_s, scene, window, true);
}

void takeConsentQuestion(Photographer& photographer) {
    Scene scene(Situation{});
    auto* const dialog = askForSystemAudio(scene.theme(), nullptr, {});
    QApplication::processEvents();
    photographer.take(u"consent-question"_s, scene, *dialog, true);
    delete dialog;
}

} // namespace
} // namespace rewindle

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: rewindle-screenshots FOLDER\n");
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    rewindle::Photographer photographer(QString::fromLocal8Bit(argv[1]));
    rewindle::takeMainWindows(photographer);
    rewindle::takeWaveforms(photographer);
    rewindle::takeSettings(photographer);
    rewindle::takeConsentQuestion(photographer);
    return photographer.hasFailed() ? 1 : 0;
}
