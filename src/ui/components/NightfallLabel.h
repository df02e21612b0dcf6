#pragma once

#include "ui/components/NightfallTheme.h"

#include <QLabel>

namespace rewindle {

/// Which of the palette's colours a text has.
using NightfallTextColor = QColor NightfallPalette::*;

/// A plain text in the look's own fonts and colours. It is drawn anew only when its text really changes.
///
/// Lifecycle: `theme` outlives it.
class NightfallLabel : public QLabel {
    Q_OBJECT

public:
    NightfallLabel(const NightfallTheme& theme, NightfallText font,
                   NightfallTextColor color = &NightfallPalette::text, QWidget* parent = nullptr);

    void setContent(const QString& text);
    void setColor(NightfallTextColor color);
    /// A text that is too long for its place loses its end or middle, and shows all of itself as a tool tip; it then
    /// takes less room than it would like to.
    void setElision(Qt::TextElideMode elision);

    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void applyColor();
    void updateToolTip();

    const NightfallTheme& theme_;
    NightfallTextColor color_;
    Qt::TextElideMode elision_ = Qt::ElideNone;
};

} // namespace rewindle
