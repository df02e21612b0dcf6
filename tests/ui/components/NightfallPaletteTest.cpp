#include "ui/components/NightfallPalette.h"

#include <gmock/gmock.h>

namespace rewindle::test {
namespace {

Color color(const QColor& from) {
    return {from.redF(), from.greenF(), from.blueF(), 1};
}

TEST(NightfallPaletteTest, WhatIsWrittenAndDrawnCanBeToldFromWhatItIsOn) {
    using P = NightfallPalette;
    struct Pair {
        const char* name;
        QColor P::*front;
        QColor P::*back;
        double contrast;
    };
    std::vector<Pair> pairs{
        {"onAccent", &P::onAccent, &P::accent, 4.5},
        {"onAccent, hovered", &P::onAccent, &P::accentHover, 4.5},
        {"onAccent, pressed", &P::onAccent, &P::accentPressed, 4.5},
        {"text of a banner", &P::text, &P::dangerSurface, 4.5},
        {"mark of a banner", &P::danger, &P::dangerSurface, 3},
        {"hovered control", &P::text, &P::controlHover, 4.5},
        {"pressed control", &P::text, &P::controlPressed, 4.5},
    };
    for (const auto back : {&P::window, &P::card, &P::control}) {
        for (const auto front : {&P::text, &P::textSecondary, &P::accentText, &P::dangerText})
            pairs.push_back({"text", front, back, 4.5});
        for (const auto front : {&P::outline, &P::focusRing, &P::success, &P::warning})
            pairs.push_back({"mark", front, back, 3});
    }
    for (const auto flavor : kAllNightfallFlavors) {
        for (const auto accent : kAllNightfallWaveformAccents) {
            const auto palette = P::of(flavor, accent);
            for (const auto& [name, front, back, contrast] : pairs) {
                SCOPED_TRACE(std::string(name) + " in " + std::string(rawValue(flavor)) + " " +
                             std::string(rawValue(accent)) + ": " + (palette.*front).name().toStdString() + " on " +
                             (palette.*back).name().toStdString());
                EXPECT_GE(contrastRatio(color(palette.*front), color(palette.*back)), contrast - 0.03); // 8 bits each
            }
        }
    }
}

TEST(NightfallPaletteTest, ContrastIsThatOfTheRelativeLuminances) {
    EXPECT_NEAR(contrastRatio(colorFromHex("#000000"), colorFromHex("#ffffff")), 21, 1e-9);
    EXPECT_NEAR(contrastRatio(colorFromHex("#767676"), colorFromHex("#ffffff")), 4.54, 0.005);
}

} // namespace
} // namespace rewindle::test
