#include "settings/ThemeManager.h"

#include "fakes/FakeDefaultsStore.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstdio>

namespace rewindle::test {
namespace {

using testing::ElementsAre;
using Flavor = NightfallFlavor;
using Accent = NightfallWaveformAccent;

/// "RRGGBB", to the nearest step of 255.
std::string hex(const Color& color) {
    char text[64];
    const auto step = [](double component) { return std::lround(component * 255); };
    std::snprintf(text, sizeof text, "%02lX%02lX%02lX", step(color.red), step(color.green), step(color.blue));
    return text;
}

TEST(ThemeManagerTest, UnderstandsStoredFlavorsAndEarlierNamesWithoutRewritingThem) {
    const std::pair<DefaultsValue, Flavor> cases[] = {
        {"daybreak", Flavor::daybreak},    {"dusk", Flavor::dusk},
        {"midnight", Flavor::midnight},    {"eclipse", Flavor::eclipse},
        {"matinee", Flavor::daybreak},     {"ultraviolet", Flavor::daybreak},
        {"latte", Flavor::daybreak},       {"neon", Flavor::dusk},
        {"mocha", Flavor::dusk},           {"frappe", Flavor::dusk},
        {"nightfall", Flavor::midnight},   {"macchiato", Flavor::midnight},
        {"witching", Flavor::eclipse},     {"retro", Flavor::eclipse},
        {"Dusk", Flavor::eclipse},         {"", Flavor::eclipse},
        {std::int64_t{1}, Flavor::eclipse}};
    for (const auto& [stored, flavor] : cases) {
        FakeDefaultsStore defaults({{"theme.flavor", stored}, {"theme.accent", "green"}});
        const ThemeManager themes(defaults);
        EXPECT_EQ(themes.flavor().get(), flavor) << testing::PrintToString(stored);
        EXPECT_EQ(themes.waveformAccent().get(), Accent::mauve);
        EXPECT_THAT(defaults.takeWrites(), ElementsAre());
    }
}

TEST(ThemeManagerTest, EveryChoiceIsFoundAgainAtTheNextStartAndTheLastWordCounts) {
    FakeDefaultsStore defaults;
    ThemeManager themes(defaults);
    const char* const names[] = {"mauve", "blue", "teal", "peach"};
    for (std::size_t i = 0; i < 4; ++i) {
        themes.setFlavor(kAllNightfallFlavors[i]);
        themes.setWaveformAccent(kAllNightfallWaveformAccents[i]);
        EXPECT_EQ(ThemeManager(defaults).waveformTheme(), themes.waveformTheme());
        EXPECT_EQ(defaults.value<std::string>("theme.accent"), names[i]);
    }
    const auto objection = themes.flavor().observe([&] { themes.setFlavor(Flavor::eclipse); });
    themes.setFlavor(Flavor::daybreak);
    EXPECT_EQ(ThemeManager(defaults).flavor().get(), Flavor::eclipse);
}

TEST(ThemeManagerTest, DerivesTheWaveformsColorsFromFlavorAndAccent) {
    struct Case {
        Flavor flavor;
        Accent accent;
        const char *top, *bottom, *background, *gradientStart, *head, *headFrozen, *text, *meterScale;
    };
    const Case cases[] = {
        // the light one: F4EFF3 towards 8B3FC4, and towards C2661C
        {Flavor::daybreak, Accent::teal, "11907E", "2F8F44", "EADDEE", "F2E8E8", "D22D3F", "A87A0E", "2E2740",
         "564D6B"},
        {Flavor::dusk, Accent::blue, "6F7FC7", "7AB0D6", "321D37", "2E1A33", "D95A6C", "DBB85A", "F3E4F3", "C8AECD"},
        {Flavor::midnight, Accent::peach, "FF8A3D", "FF3355", "0D1121", "0B0F1E", "FF3355", "FFD23D", "E8EAF7",
         "9AA0C8"},
        // 0E0B16 a little towards 221C30
        {Flavor::eclipse, Accent::mauve, "FF4D94", "C47DFF", "120E1B", "0E0B16", "FF556E", "FFD96B", "E9E1F4",
         "A298BB"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(rawValue(c.flavor));
        const auto theme = WaveformTheme::of(c.flavor, c.accent);
        EXPECT_EQ(hex(theme.waveformTop), c.top);
        EXPECT_EQ(hex(theme.waveformBottom), c.bottom);
        EXPECT_EQ(theme.glow, theme.waveformBottom);
        EXPECT_EQ(hex(theme.background), c.background);
        EXPECT_EQ(hex(theme.backgroundGradientStart), c.gradientStart);
        EXPECT_EQ(hex(theme.head), c.head);
        EXPECT_EQ(hex(theme.headFrozen), c.headFrozen);
        EXPECT_EQ(hex(theme.playhead), c.text);
        EXPECT_EQ(theme.playhead.alpha, 0.55);
        EXPECT_EQ(theme.selectionFill, theme.meterReadout.withAlpha(0.16));
        EXPECT_EQ(hex(theme.meterScale), c.meterScale);
    }
}

} // namespace
} // namespace rewindle::test
