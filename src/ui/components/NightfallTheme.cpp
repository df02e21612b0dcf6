#include "ui/components/NightfallTheme.h"

#include <QStringList>

namespace rewindle {
namespace {

using namespace Qt::StringLiterals;

QFont sans(int pixels, QFont::Weight weight) {
    QFont font;
    // Whether a family is there is left to the font matcher: a look of our own would read every font at start-up.
    font.setFamilies({u"Inter"_s, u"Noto Sans"_s, u"Cantarell"_s, u"DejaVu Sans"_s});
    font.setStyleHint(QFont::SansSerif);
    font.setPixelSize(pixels);
    font.setWeight(weight);
    return font;
}

QFont monospaced(int pixels, QFont::Weight weight) {
    QFont font;
    font.setFamilies({u"JetBrains Mono"_s, u"Noto Sans Mono"_s, u"DejaVu Sans Mono"_s, u"monospace"_s});
    font.setStyleHint(QFont::Monospace);
    font.setPixelSize(pixels);
    font.setWeight(weight);
    return font;
}

} // namespace

NightfallTheme::NightfallTheme(ThemeManager& themes) : themes_(themes) {
    refresh();
    const auto onChange = [this] {
        refresh();
        Q_EMIT changed();
    };
    observations_.push_back(themes_.flavor().observe(onChange));
    observations_.push_back(themes_.waveformAccent().observe(onChange));
}

void NightfallTheme::refresh() {
    palette_ = NightfallPalette::of(themes_.flavor().get(), themes_.waveformAccent().get());
    waveform_ = themes_.waveformTheme();
}

QFont NightfallTheme::font(NightfallText text) {
    switch (text) {
    case NightfallText::title: return sans(19, QFont::DemiBold);
    case NightfallText::heading: return sans(14, QFont::DemiBold);
    case NightfallText::body: return sans(13, QFont::Normal);
    case NightfallText::strong: return sans(13, QFont::DemiBold);
    case NightfallText::caption: return sans(12, QFont::Normal);
    case NightfallText::figure: return monospaced(12, QFont::Normal);
    case NightfallText::bigFigure: return monospaced(32, QFont::Medium);
    }
    return {};
}

} // namespace rewindle
