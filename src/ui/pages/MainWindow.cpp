#include "ui/pages/MainWindow.h"

#include "ui/components/NightfallSurface.h"

#include <QCloseEvent>
#include <QShortcut>
#include <QToolTip>
#include <QVBoxLayout>

namespace rewindle {

using namespace Qt::StringLiterals;
namespace {

void applyToToolTips(const NightfallTheme& theme) {
    QPalette palette = QToolTip::palette();
    palette.setColor(QPalette::All, QPalette::ToolTipBase, theme.palette().control);
    palette.setColor(QPalette::All, QPalette::ToolTipText, theme.palette().text);
    QToolTip::setPalette(palette);
    QToolTip::setFont(NightfallTheme::font(NightfallText::caption));
}

} // namespace

MainWindow::MainWindow(AppSession& session, CaptureControl& control, const WaveformServices& waveform,
                       DefaultsStore& defaults, const NightfallTheme& theme, const Actions& actions)
    : actions_(actions), animatedWindow_(std::make_shared<QtAnimatedWindow>(*this)),
      driver_(waveform.drivers.driverFor(animatedWindow_)), keyMonitor_(new WaveformKeyMonitor(*this)),
      root_(new RootView(session, defaults, theme,
                         [this, &session, &control, &waveform, &theme] {
                             return makeWaveformPage(session, control, waveform, theme);
                         })),
      dialogLock_(new QWidget(this)) {
    setWindowTitle(u"rewindle"_s);
    setMinimumSize(kLeastWidth, kLeastHeight);
    fillWithSurface(*this, theme, &NightfallPalette::window);
    fillWithSurface(*dialogLock_, theme, &NightfallPalette::scrim);
    dialogLock_->hide();
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(root_);
    addShortcuts();
    connect(&theme, &NightfallTheme::changed, this, [&theme] { applyToToolTips(theme); });
    applyToToolTips(theme);
}

MainWindow::~MainWindow() {
    // The pages listen to members that are destroyed before child widgets are.
    delete root_;
}

WaveformWindowView* MainWindow::makeWaveformPage(AppSession& session, CaptureControl& control,
                                                 const WaveformServices& waveform,
                                                 const NightfallTheme& theme) const {
    auto* const page = new WaveformWindowView(session, control, waveform, driver_, theme, actions_);
    keyMonitor_->setWaveform(&page->waveform());
    return page;
}

void MainWindow::addShortcuts() {
    const auto add = [this](QKeyCombination keys, const std::function<void()>& action) {
        auto* const shortcut = new QShortcut(QKeySequence(keys), this);
        shortcut->setAutoRepeat(false);
        connect(shortcut, &QShortcut::activated, this, action);
    };
    add(Qt::CTRL | Qt::Key_Comma, [this] { actions_.openSettings(); });
    add(Qt::CTRL | Qt::Key_Q, [this] { actions_.quit(); });
    add(Qt::CTRL | Qt::Key_S, [this] {
        auto* const view = root_->waveformWindowView();
        if (view && view->isVisible()) view->save();
    });
}

void MainWindow::closeEvent(QCloseEvent* event) {
    event->ignore();
    actions_.closeRequested();
}

void MainWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    dialogLock_->setGeometry(rect());
}

bool MainWindow::event(QEvent* event) {
    if (event->type() == QEvent::WindowBlocked || event->type() == QEvent::WindowUnblocked) {
        dialogLock_->setVisible(event->type() == QEvent::WindowBlocked);
        dialogLock_->raise();
    }
    return QWidget::event(event);
}

} // namespace rewindle
