#pragma once

#include "ui/components/KeyboardFocus.h"
#include "ui/components/NightfallIcons.h"
#include "ui/components/NightfallTheme.h"

#include <QPixmap>
#include <QPushButton>

namespace rewindle {

/// A push button: the one that a page is for (primary), others (secondary), those that stay in the background (quiet),
/// and those that stand in a line of small text (link). Space and Enter press it.
///
/// Lifecycle: `theme` outlives it.
class NightfallButton final : public QPushButton {
public:
    enum class Kind { primary, secondary, quiet, link };
    /// A button without text shows its glyph alone; give it an accessible name and a tool tip.
    NightfallButton(const NightfallTheme& theme, Kind kind, const QString& text,
                    NightfallGlyph glyph = NightfallGlyph::none, QWidget* parent = nullptr);

    void setGlyph(NightfallGlyph glyph);
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    struct Colors {
        QColor fill, content;
    };
    /// What the picture of a button without text depends on, besides the theme and the glyph.
    struct Look {
        QColor fill, content;
        bool hasRing = false;
        QSize pixels;
        friend bool operator==(const Look&, const Look&) = default;
    };
    void paint(QPainter& painter) const;
    void keepPicture(qreal scale);
    [[nodiscard]] Colors colors() const;
    [[nodiscard]] QRectF body() const;
    [[nodiscard]] qreal radius() const;

    const NightfallTheme& theme_;
    const Kind kind_;
    NightfallGlyph glyph_;
    KeyboardFocus focus_;
    Look look_; // of `picture_`
    QPixmap picture_;
};

} // namespace rewindle
