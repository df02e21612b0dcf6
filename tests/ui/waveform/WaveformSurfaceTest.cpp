// The waveform on a real display: drawn by the GPU, which is software here, and when there is no GPU after all.

#include "host/drawing/PictureDifference.h"
#include "host/windows/DesktopTest.h"
#include "ui/UiFixture.h"

#include <QPointer>
#include <QScreen>

#include <cmath>

namespace rewindle::test {
namespace {

using namespace Qt::StringLiterals;

constexpr QSize kSize{620, 200};

struct NoImages final : ImageWriter {
    bool writePng(const std::filesystem::path&, const ImagePixels&) override { return false; }
};

/// The waveform of half a minute of sound, swelling and fading, in a main window that is drawn in two dimensions first.
class WaveformSurfaceTest : public UiFixture {
protected:
    WaveformSurfaceTest() {
        begin();
        std::vector<float> samples(4'800);
        for (int i = 0; i < 280; ++i) {
            const double level = std::pow(std::sin(i * 0.06), 2) * (0.6 + 0.4 * std::sin(i * 1.7));
            for (std::size_t k = 0; k < samples.size(); ++k)
                samples[k] = static_cast<float>(level * std::sin(static_cast<double>(k) * 0.11));
            hear(samples);
        }
        freeze.frozen = true;
        flat = lookAtTwoDimensions(false);
        flatMarked = lookAtTwoDimensions(true);
    }
    QImage lookAtTwoDimensions(bool marked) {
        if (!mainWindow) show();
        if (marked) mark();
        QImage expected = pixelsOf(mainWindow->grab());
        EXPECT_TRUE(runUntil([&] { return onScreen(*mainWindow) == expected; }));
        return expected;
    }
    /// Has the next window drawn by the GPU; `change` happens to the surface before it is shown.
    void useGpu(const std::function<void(QtWaveformSurface&)>& change = [](auto&) {}) {
        waveform.makeSurface = [this, change](QWidget* parent) {
            surface = new QtWaveformSurface({.log = Log(log, "Gpu"),
                                             .dump = dump,
                                             .isES = false,
                                             .onReady = [this](const std::string& name) { rendererName = name; }},
                                            parent);
            change(*surface);
            return surface.get();
        };
    }
    void show(QSize size = kSize) {
        mainWindow.reset();
        openMainWindow(size);
        EXPECT_TRUE(runUntil([&] { return mainWindow->isActiveWindow(); }));
        tick();
    }
    /// A selection, and the playhead at its start.
    void mark() {
        QTest::mousePress(&widget(), Qt::LeftButton, {}, {200, 50});
        for (const int x : {300, 500})
            QTest::mouseMove(&widget(), {x, 50});
        QTest::mouseRelease(&widget(), Qt::LeftButton, {}, {500, 50});
        press(*mainWindow, Qt::Key_Right);
        tick();
    }
    WaveformViewRepresentable& widget() { return waveformWidget(); }
    [[nodiscard]] static QImage pixelsOf(const QPixmap& picture) {
        QImage pixels = picture.toImage().convertToFormat(QImage::Format_RGB32);
        pixels.setDevicePixelRatio(1);
        return pixels;
    }
    /// What the screen shows of a window.
    [[nodiscard]] static QImage onScreen(const QWidget& shown) {
        return pixelsOf(QGuiApplication::primaryScreen()->grabWindow(shown.winId()));
    }
    [[nodiscard]] QRect areaOf(const QWidget& part) const {
        const double scale = mainWindow->devicePixelRatioF();
        const QPointF corner = part.mapTo(&*mainWindow, QPoint());
        return QRectF(corner * scale, QSizeF(part.size()) * scale).toAlignedRect();
    }
    /// Whether the GPU has drawn the waveform as it is in `expected`.
    [[nodiscard]] bool showsByGpu(const QImage& expected) {
        const QImage seen = onScreen(*mainWindow);
        if (seen.size() != expected.size() || seen == expected) return false;
        difference = meanDifference(withoutEdge(seen), withoutEdge(expected), areaOf(widget()));
        return rendererName && !rendererName->empty() && surface && difference < 2;
    }
    /// But for the edge of the selection.
    [[nodiscard]] QImage withoutEdge(QImage picture) {
        const auto& editor = widget().view().editor();
        if (!editor.marks().hasSelection()) return picture;
        const Rect selection = selectionRect(editor.marks(), editor.axis()).value();
        const QPointF corner = widget().mapTo(&*mainWindow, QPoint());
        hideEdge(picture, QRectF(selection.x, selection.y, selection.width, selection.height).translated(corner),
                 mainWindow->devicePixelRatioF());
        return picture;
    }
    /// Qt leaves what is to be deleted later to an event loop that a test has not.
    static void deleteWhatIsDue() { QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); }

    NoImages noImages;
    FrameDump dump{nullptr, queues.clock, noImages};
    QPointer<QtWaveformSurface> surface;
    std::optional<std::string> rendererName;
    QImage flat, flatMarked; // drawn in two dimensions
    double difference = 0;
};

TEST_F(WaveformSurfaceTest, TheGpuShowsWhatIsDrawnInTwoDimensions) {
    useGpu();
    show({480, 300});
    EXPECT_TRUE(runUntil([&] { return rendererName.has_value(); }));
    mainWindow->resize(kSize);
    tick();
    EXPECT_TRUE(runUntil([&] { return showsByGpu(flat); })) << difference;
    auto& button = find<QPushButton>(*mainWindow, u"Pause live follow"_s);
    EXPECT_LT(meanDifference(onScreen(*mainWindow), flat, areaOf(button)), 0.1) << "behind the waveform";
    mark();
    EXPECT_TRUE(runUntil([&] { return showsByGpu(flatMarked); })) << difference;
}

TEST_F(WaveformSurfaceTest, WithoutAContextThePictureIsDrawnInTwoDimensions) {
    useGpu([](QtWaveformSurface& made) {
        QSurfaceFormat none = made.format();
        none.setRenderableType(QSurfaceFormat::OpenVG);
        made.setFormat(none);
    });
    show();
    EXPECT_TRUE(runUntil([&] { return deleteWhatIsDue(), onScreen(*mainWindow) == flat; }));
    EXPECT_EQ(rendererName, "");
    EXPECT_FALSE(surface);
}

TEST_F(WaveformSurfaceTest, AGpuThatIsLostLeavesTheWholePictureToTheOtherPath) {
    useGpu();
    show();
    mark();
    ASSERT_TRUE(runUntil([&] { return showsByGpu(flatMarked); })) << difference;
    surface->onUnusable();
    EXPECT_TRUE(runUntil([&] { return deleteWhatIsDue(), onScreen(*mainWindow) == flatMarked; }));
    for (int i = 0; i < 2; ++i)
        press(*mainWindow, Qt::Key_Escape); // the playhead, the selection
    tick();
    EXPECT_TRUE(runUntil([&] { return onScreen(*mainWindow) == flat; }));
}

} // namespace
} // namespace rewindle::test
