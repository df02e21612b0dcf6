// blit_window WIDTH HEIGHT: a window of that many points that shows a picture of its own size sixty times a second, and
// does nothing else: what it costs to draw live is compared with it.

#include "host/windows/TimerFd.h"

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QWidget>

namespace {

class BlitWindow final : public QWidget {
public:
    explicit BlitWindow(QSize size) : picture_(size * devicePixelRatioF(), QImage::Format_RGB32) {
        setAttribute(Qt::WA_OpaquePaintEvent);
        setWindowTitle(QStringLiteral("blit_window"));
        setFixedSize(size);
        picture_.setDevicePixelRatio(devicePixelRatioF());
        picture_.fill(Qt::darkGreen);
    }

protected:
    void paintEvent(QPaintEvent*) override { QPainter(this).drawImage(0, 0, picture_); }

private:
    QImage picture_;
};

} // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    const auto arguments = QApplication::arguments();
    BlitWindow window({arguments.value(1).toInt(), arguments.value(2).toInt()});
    rewindle::TimerFd timer([&] { window.update(); });
    constexpr std::chrono::nanoseconds kPeriod(16'666'667);
    timer.start(kPeriod, kPeriod);
    window.show();
    return QApplication::exec();
}
