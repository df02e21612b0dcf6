#pragma once

#include "app/AppSession.h"
#include "host/drawing/QtGraphicsContext.h"
#include "ui/components/NightfallButton.h"
#include "ui/waveform/WaveformBackdrop.h"
#include "ui/waveform/WaveformServices.h"
#include "waveform/WaveformViewContainer.h"

#include <QWidget>

#include <optional>
#include <vector>

namespace rewindle {

/// The live waveform on the screen: gives the view its size, its input, its frame clock and a place to be drawn, and
/// shows the button that pauses and resumes its following.
///
/// Threads:   interface thread.
/// Lifecycle: everything that it is given outlives it.
class WaveformViewRepresentable final : public QWidget, private WaveformViewHost {
public:
    /// `driver` is the clock of the window that the widget will be in.
    WaveformViewRepresentable(AppSession& session, const WaveformServices& services,
                              std::shared_ptr<WindowAnimationDriver> driver, const NightfallTheme& theme);
    ~WaveformViewRepresentable() override;

    [[nodiscard]] WaveformView& view() const { return *view_; }
    /// A key that was pressed anywhere in the window; false when it means nothing here.
    [[nodiscard]] bool offerKey(const QKeyEvent& event, bool isRepeat);
    [[nodiscard]] QSize minimumSizeHint() const override { return {1, 56}; }

protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;

private:
    class Ticks;

    void setNeedsDisplay() override;
    void setCursor(CursorShape shape) override;
    void makeFirstResponder() override { setFocus(Qt::MouseFocusReason); }
    [[nodiscard]] std::optional<Point> pointerLocation() const override { return pointer_; }
    void beep() override;

    void observe();
    void updateLive();
    void showFollowing();
    void placeFollowButton();
    void paintIfDue();
    void keepPicture(QSize pixels);
    void drawPicture(QImage& image);
    void useSurface(QtWaveformSurface* surface);
    void paintSurfaceBackdrop();
    [[nodiscard]] bool activatesWindow() const;

    AppSession& session_;
    const Clock& clock_;
    const NightfallTheme& theme_;
    const std::shared_ptr<WindowAnimationDriver> driver_;
    const std::shared_ptr<WaveformView> view_;
    const std::shared_ptr<Ticks> ticks_;
    WaveformViewContainer container_;
    NightfallButton* followButton_;

    bool isShown_ = false;
    bool isLive_ = false; // somebody sees it move
    std::optional<Point> pointer_;
    std::int64_t presses_ = 0;
    std::optional<double> activated_; // uptime of the window's activation, seconds; none once a key was pressed

    QtWaveformSurface* surface_ = nullptr; // null: this widget is drawn on itself
    QImage picture_;                       // null unless it is needed
    bool isPictureDue_ = true;
    bool isPaintDue_ = false; // with the next tick
    QtGraphicsContext context_;
    WaveformBackdrop backdrop_;
    std::vector<Observation> observations_;
};

} // namespace rewindle
