#include "settings/NightfallTokens.h"

#include <array>
#include <string_view>

namespace rewindle {
namespace {

struct Row {
    Color NightfallTokens::*token;
    std::array<std::string_view, kAllNightfallFlavors.size()> values; // in the order of the flavours
};

// clang-format off
constexpr std::array kRows{
    //  token                         daybreak   dusk       midnight   eclipse
    Row{&NightfallTokens::rosewater, {"#c16277", "#e8c4cc", "#ffd9e8", "#f5d7df"}},
    Row{&NightfallTokens::flamingo,  {"#c25f76", "#dba3ae", "#ff9fc0", "#f1a9ba"}},
    Row{&NightfallTokens::pink,      {"#d61f6f", "#e8608f", "#ff1f83", "#ff4d94"}},
    Row{&NightfallTokens::mauve,     {"#8b3fc4", "#a578d6", "#b355ff", "#c47dff"}},
    Row{&NightfallTokens::red,       {"#d22d3f", "#d95a6c", "#ff3355", "#ff556e"}},
    Row{&NightfallTokens::maroon,    {"#b3445a", "#c17888", "#e2637c", "#ef8197"}},
    Row{&NightfallTokens::peach,     {"#c2661c", "#e08a4a", "#ff8a3d", "#ff9d5c"}},
    Row{&NightfallTokens::yellow,    {"#a87a0e", "#dbb85a", "#ffd23d", "#ffd96b"}},
    Row{&NightfallTokens::green,     {"#2f8f44", "#6fbf7a", "#4dff9e", "#7ee787"}},
    Row{&NightfallTokens::teal,      {"#11907e", "#5cb8a8", "#2de8ff", "#57e3c6"}},
    Row{&NightfallTokens::sky,       {"#2d7fb8", "#7ab0d6", "#4fc3ff", "#8fd0ff"}},
    Row{&NightfallTokens::sapphire,  {"#1f74c4", "#5a9bcc", "#2e93ff", "#4db5ff"}},
    Row{&NightfallTokens::blue,      {"#3a52c0", "#6f7fc7", "#4a6bff", "#7088ff"}},
    Row{&NightfallTokens::lavender,  {"#6a57c0", "#9585c7", "#9a8dff", "#b3a8ff"}},
    Row{&NightfallTokens::crust,     {"#e3dbe5", "#1e1220", "#05070f", "#07050e"}},
    Row{&NightfallTokens::mantle,    {"#ece5ec", "#251629", "#080b17", "#0a0811"}},
    Row{&NightfallTokens::base,      {"#f4eff3", "#2e1a33", "#0b0f1e", "#0e0b16"}},
    Row{&NightfallTokens::surface0,  {"#d8cfdb", "#422a49", "#161c30", "#221c30"}},
    Row{&NightfallTokens::surface1,  {"#c9bfd0", "#533659", "#212a44", "#2e2740"}},
    Row{&NightfallTokens::surface2,  {"#bbb0c4", "#654469", "#2d3658", "#3b3350"}},
    Row{&NightfallTokens::overlay0,  {"#a99eb6", "#7c5a81", "#3c4570", "#4a4160"}},
    Row{&NightfallTokens::overlay1,  {"#978ca6", "#916f95", "#4c5588", "#5b5274"}},
    Row{&NightfallTokens::overlay2,  {"#867b96", "#a988ad", "#6169a0", "#6f6589"}},
    Row{&NightfallTokens::subtext0,  {"#6a6080", "#c8aecd", "#9aa0c8", "#a298bb"}},
    Row{&NightfallTokens::subtext1,  {"#564d6b", "#ddc8e1", "#c0c4e0", "#c5bbd8"}},
    Row{&NightfallTokens::text,      {"#2e2740", "#f3e4f3", "#e8eaf7", "#e9e1f4"}},
};
// clang-format on

NightfallTokens palette(std::size_t flavor) {
    NightfallTokens tokens;
    for (const auto& [token, values] : kRows)
        tokens.*token = colorFromHex(values[flavor]);
    return tokens;
}

} // namespace

NightfallTokens NightfallTokens::of(NightfallFlavor flavor) {
    static const std::array palettes{palette(0), palette(1), palette(2),
                                     palette(3)}; // read once, used in every frame
    return palettes[static_cast<std::size_t>(flavor)];
}

} // namespace rewindle
