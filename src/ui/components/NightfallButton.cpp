#include "ui/components/NightfallButton.h"

#include "ui/components/NightfallPaint.h"

#include <QKeyEvent>

#include <cmath>

namespace rewindle {
namespace {

using Metrics = NightfallMetrics;
constexpr int kGlyphSize = 18, kGlyphGap = 7, kSidePadding = 14, kLinkPadding = 3;

NightfallText fontOf(NightfallButton::Kind kind) {
    if (kind == NightfallButton::Kind::primary) return NightfallText::strong;
    return kind == NightfallButton::Kind::link ? NightfallText::caption : NightfallText::body;
}

} // namespace

NightfallButton::NightfallButton(const NightfallTheme& theme, Kind kind, const QString& text, NightfallGlyph glyph,
                                 QWidget* parent)
    : QPushButton(text, parent), theme_(theme), kind_(kind), glyph_(glyph), focus_(*this) {
    setFont(NightfallTheme::font(fontOf(kind)));
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover); // repaints as the pointer comes and goes
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAutoDefault(false);
    connect(&theme, &NightfallTheme::changed, this, [this] {
        picture_ = {};
        update();
    });
}

void NightfallButton::setGlyph(NightfallGlyph glyph) {
    glyph_ = glyph;
    picture_ = {};
    update();
}

QSize NightfallButton::sizeHint() const {
    const int around = 2 * Metrics::ringMargin;
    if (kind_ == Kind::link) {
        return {fontMetrics().horizontalAdvance(text()) + 2 * kLinkPadding + around, fontMetrics().height() + around};
    }
    if (text().isEmpty()) return {Metrics::controlHeight + around, Metrics::controlHeight + around};
    const int glyph = glyph_ == NightfallGlyph::none ? 0 : kGlyphSize + kGlyphGap;
    return {fontMetrics().horizontalAdvance(text()) + glyph + 2 * kSidePadding + around,
            Metrics::controlHeight + around};
}

NightfallButton::Colors NightfallButton::colors() const {
    const auto& palette = theme_.palette();
    const bool isHot = isEnabled() && underMouse();
    if (kind_ == Kind::primary) {
        if (!isEnabled()) return {palette.control, palette.textDisabled};
        return {isDown() ? palette.accentPressed : isHot ? palette.accentHover : palette.accent, palette.onAccent};
    }
    const QColor usual = kind_ == Kind::link ? palette.accentText : palette.text;
    const QColor content = isEnabled() ? usual : palette.textDisabled;
    const QColor atRest = kind_ == Kind::secondary ? palette.control : QColor(Qt::transparent);
    return {isDown() ? palette.controlPressed : isHot ? palette.controlHover : atRest, content};
}

QRectF NightfallButton::body() const {
    constexpr qreal kMargin = Metrics::ringMargin;
    return QRectF(rect()).adjusted(kMargin, kMargin, -kMargin, -kMargin);
}

qreal NightfallButton::radius() const {
    return kind_ == Kind::link ? 4 : Metrics::controlRadius;
}

void NightfallButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const qreal scale = devicePixelRatioF();
    // Text, and what does not fall on whole pixels, looks better painted in its place than copied from a picture.
    if (!text().isEmpty() || scale != std::floor(scale)) return paint(painter);
    keepPicture(scale);
    painter.drawPixmap(0, 0, picture_);
}

/// A button without text may lie on something that moves, and is then painted with every frame of it.
void NightfallButton::keepPicture(qreal scale) {
    const auto [fill, content] = colors();
    const Look look{fill, content, focus_.isVisible(), size() * scale};
    if (look == look_ && !picture_.isNull()) return;
    look_ = look;
    picture_ = QPixmap(look.pixels);
    picture_.setDevicePixelRatio(scale);
    picture_.fill(Qt::transparent);
    QPainter painter(&picture_);
    paint(painter);
}

void NightfallButton::paint(QPainter& painter) const {
    const QRectF body = this->body();
    const auto [fill, content] = colors();
    if (fill.alpha() > 0) NightfallPaint::fillRounded(painter, body, radius(), fill);
    if (kind_ == Kind::secondary) {
        NightfallPaint::strokeRounded(painter, body, radius(), theme_.palette().controlHover,
                                      NightfallPaint::hairline(painter));
    }
    const qreal textWidth = text().isEmpty() ? 0 : fontMetrics().horizontalAdvance(text());
    const qreal gap = text().isEmpty() || glyph_ == NightfallGlyph::none ? 0 : kGlyphGap;
    const qreal glyphWidth = glyph_ == NightfallGlyph::none ? 0 : kGlyphSize;
    qreal x = body.center().x() - (textWidth + gap + glyphWidth) / 2;
    if (glyphWidth > 0) {
        paintGlyph(painter, glyph_, QRectF(x, body.center().y() - glyphWidth / 2, glyphWidth, glyphWidth), content);
        x += glyphWidth + gap;
    }
    painter.setPen(content);
    painter.drawText(QRectF(x, body.top(), textWidth + 2, body.height()), Qt::AlignVCenter | Qt::AlignLeft, text());
    if (focus_.isVisible()) {
        NightfallPaint::focusRing(painter, body, radius(), theme_.palette().focusRing);
    }
}

void NightfallButton::keyPressEvent(QKeyEvent* event) {
    // A key held down must not answer the question that its first press brought up.
    if (event->isAutoRepeat()) return;
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) return click();
    QPushButton::keyPressEvent(event);
}

} // namespace rewindle
