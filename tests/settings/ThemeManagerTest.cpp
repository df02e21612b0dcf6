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
    struct Case {
        DefaultsValue stored;
        Flavor flavor;
    };
    const Case cases[] = {{"daybreak", Flavor::daybreak},    {"dusk", Flavor::dusk},
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
    for (std::size_t i = 0; i < 4; ++i) {
        themes.setFlavor(kAllNightfallFlavors[i]);
        themes.setWaveformAccent(kAllNightfallWaveformAccents[i]);
        EXPECT_EQ(ThemeManager(defaults).waveformTheme(), themes.waveformTheme());
    }
    const auto objection = themes.flavor().observe([&] { themes.setFlavor(Flavor::eclipse); });
    themes.setFlavor(Flavor::daybreak);
    EXPECT_EQ(ThemeManager(defaults).flavor().get(), Flavor::eclipse);
}

TEST(ThemeManagerTest, DerivesTheWaveformsColorsFromFlavorAndAccent) {
    FakeDefaultsStore defaults;
    const auto theme = ThemeManager(defaults).waveformTheme(); // eclipse with mauve
    EXPECT_EQ(hex(theme.waveformTop), "FF4D94");
    EXPECT_EQ(hex(theme.waveformBottom), "C47DFF");
    EXPECT_EQ(hex(theme.background), "120E1B"); // 0E0B16 a little towards 221C30
    EXPECT_EQ(theme.backgroundGradientStart, theme.backgroundBase);
    EXPECT_EQ(theme.meterScale, theme.meterLabel);

    const auto light = WaveformTheme::of(Flavor::daybreak, Accent::teal);
    EXPECT_EQ(hex(light.waveformTop), "11907E");
    EXPECT_EQ(hex(light.glow), "2F8F44");
    EXPECT_EQ(hex(light.meterScale), "564D6B");
    EXPECT_EQ(hex(light.background), "EADDEE");              // F4EFF3 towards 8B3FC4
    EXPECT_EQ(hex(light.backgroundGradientStart), "F2E8E8"); // towards C2661C
    EXPECT_EQ(light.playhead, NightfallTokens::of(Flavor::daybreak).text.withAlpha(0.55));
}

} // namespace
} // namespace rewindle::test
