#include "ui/components/NightfallDialog.h"

#include "ui/components/NightfallButton.h"
#include "ui/components/NightfallLabel.h"
#include "ui/components/NightfallSurface.h"

#include <QHBoxLayout>

#include <utility>

namespace rewindle {
namespace {

using namespace Qt::StringLiterals;
using Metrics = NightfallMetrics;
constexpr int kTextWidth = 400;

} // namespace

NightfallDialog* NightfallDialog::present(const NightfallTheme& theme, const Content& content, QWidget* parent,
                                          Answer answer) {
    auto* const dialog = new NightfallDialog(theme, content, parent, std::move(answer));
    dialog->open();
    return dialog;
}

NightfallDialog::NightfallDialog(const NightfallTheme& theme, const Content& content, QWidget* parent, Answer answer)
    : QDialog(parent), answer_(std::move(answer)) {
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(content.title + u" — rewindle"_s); // some desktops would add the name themselves
    setAccessibleName(content.title);
    setAccessibleDescription(content.text);
    fillWithSurface(*this, theme, &NightfallPalette::card);

    auto* const title = new NightfallLabel(theme, NightfallText::title);
    title->setContent(content.title);
    title->setWordWrap(true);
    title->setFixedWidth(kTextWidth);
    auto* const text = new NightfallLabel(theme, NightfallText::body, &NightfallPalette::textSecondary);
    text->setContent(content.text);
    text->setWordWrap(true);
    text->setFixedWidth(kTextWidth);

    auto* const buttons = new QHBoxLayout;
    buttons->setSpacing(Metrics::small);
    buttons->addStretch();
    if (!content.refuse.isEmpty()) {
        auto* const refuse = new NightfallButton(theme, NightfallButton::Kind::secondary, content.refuse);
        connect(refuse, &QPushButton::clicked, this, &QDialog::reject);
        buttons->addWidget(refuse);
    }
    auto* const accept = new NightfallButton(theme, NightfallButton::Kind::primary, content.accept);
    connect(accept, &QPushButton::clicked, this, &QDialog::accept);
    buttons->addWidget(accept);

    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(Metrics::huge, Metrics::huge, Metrics::huge, Metrics::large);
    column->setSpacing(Metrics::small);
    column->addWidget(title);
    column->addWidget(text);
    column->addSpacing(Metrics::medium);
    column->addLayout(buttons);
    column->setSizeConstraint(QLayout::SetFixedSize);
    accept->setFocus();
    connect(this, &QDialog::finished, this, [this](int result) { tell(result == Accepted); });
}

void NightfallDialog::tell(bool accepted) {
    if (const auto answer = std::exchange(answer_, nullptr)) answer(accepted);
}

NightfallDialog* askForSystemAudio(const NightfallTheme& theme, QWidget* parent, NightfallDialog::Answer answer) {
    const NightfallDialog::Content content{
        u"Allow rewindle to hear this computer?"_s,
        u"rewindle keeps the last minutes of what this computer plays, so that you can save what you have just "
        u"heard. "
        "The audio stays in memory. Microphones are never recorded.\n\n"
        "You can change this at any time in Settings, under System Audio Recording."_s,
        u"Allow"_s, u"Don’t Allow"_s};
    return NightfallDialog::present(theme, content, parent, std::move(answer));
}

NightfallDialog* tellThatWindowIsHidden(const NightfallTheme& theme, QWidget* parent) {
    const NightfallDialog::Content content{
        u"rewindle keeps listening"_s,
        u"Closing the window only hides it. Start rewindle again to bring it back; press Ctrl+Q in the window to quit."_s,
        u"OK"_s,
        {}};
    return NightfallDialog::present(theme, content, parent, {});
}

} // namespace rewindle
