#include "ui/pages/SettingsWindow.h"

#include "ui/components/NightfallScrollArea.h"
#include "ui/components/NightfallSurface.h"

#include <QScreen>
#include <QShortcut>
#include <QVBoxLayout>

namespace rewindle {
namespace {

using namespace Qt::StringLiterals;
constexpr int kWidth = 620, kHeight = 720, kLeastWidth = 520, kLeastHeight = 320;
constexpr int kTitleBar = 40; // what a desktop may put around a window, at most

} // namespace

SettingsWindow::SettingsWindow(AppSession& session, CaptureControl& control, const NightfallTheme& theme,
                               const Actions& actions) {
    setWindowTitle(u"Settings — rewindle"_s);
    const auto room = screen()->availableGeometry().size() - QSize(0, kTitleBar);
    setMinimumSize(QSize(kLeastWidth, kLeastHeight).boundedTo(room));
    resize(QSize(kWidth, kHeight).boundedTo(room));
    fillWithSurface(*this, theme, &NightfallPalette::window);
    auto* const scroll = new NightfallScrollArea(theme);
    view_ = new SettingsView(session, control, theme, actions);
    fillWithSurface(*view_, theme, &NightfallPalette::window);
    scroll->setWidget(view_);
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(scroll);
    connect(new QShortcut(QKeySequence(Qt::Key_Escape), this), &QShortcut::activated, this, &QWidget::close);
    connect(new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_W), this), &QShortcut::activated, this, &QWidget::close);
    connect(new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q), this), &QShortcut::activated, this,
            [&actions] { actions.quit(); });
}

void SettingsWindow::present() {
    show();
    setWindowState(windowState() & ~Qt::WindowMinimized);
    raise();
    activateWindow();
}

void SettingsWindow::presentConsent() {
    present();
    view_->focusConsent();
}

} // namespace rewindle
