#include "ui/SettingsWindow.h"

#include "ui/NightfallScrollArea.h"
#include "ui/NightfallSurface.h"

#include <QShortcut>
#include <QVBoxLayout>

namespace rewindle {
namespace {

using namespace Qt::StringLiterals;
constexpr int kWidth = 620, kHeight = 720, kLeastWidth = 520, kLeastHeight = 320;

} // namespace

SettingsWindow::SettingsWindow(AppSession& session, CaptureControl& control, const NightfallTheme& theme,
                               const Actions& actions) {
    setWindowTitle(u"Settings — rewindle"_s);
    setMinimumSize(kLeastWidth, kLeastHeight);
    resize(kWidth, kHeight);
    fillWithSurface(*this, theme, &NightfallPalette::window);
    auto* const scroll = new NightfallScrollArea(theme);
    auto* const view = new SettingsView(session, control, theme, actions);
    fillWithSurface(*view, theme, &NightfallPalette::window);
    scroll->setWidget(view);
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

} // namespace rewindle
