#include "settings/ThemeManager.h"

#include <string>
#include <utility>

namespace rewindle {
namespace {

constexpr std::string_view kFlavorKey = "theme.flavor";
constexpr std::string_view kAccentKey = "theme.accent";

/// What earlier versions stored. Names that became `eclipse` need no entry: every unknown name becomes `eclipse`.
constexpr std::pair<std::string_view, NightfallFlavor> kLegacyFlavors[] = {
    {"matinee", NightfallFlavor::daybreak},   {"ultraviolet", NightfallFlavor::daybreak},
    {"latte", NightfallFlavor::daybreak},     {"neon", NightfallFlavor::dusk},
    {"mocha", NightfallFlavor::dusk},         {"frappe", NightfallFlavor::dusk},
    {"nightfall", NightfallFlavor::midnight}, {"macchiato", NightfallFlavor::midnight},
};

NightfallFlavor storedFlavor(const DefaultsStore& defaults) {
    const auto text = defaults.value<std::string>(kFlavorKey).value_or("");
    if (const auto flavor = nightfallFlavorFromRawValue(text)) return *flavor;
    for (const auto& [name, flavor] : kLegacyFlavors) {
        if (name == text) return flavor;
    }
    return NightfallFlavor::eclipse;
}

NightfallWaveformAccent storedAccent(const DefaultsStore& defaults) {
    const auto text = defaults.value<std::string>(kAccentKey).value_or("");
    return nightfallWaveformAccentFromRawValue(text).value_or(NightfallWaveformAccent::mauve);
}

} // namespace

ThemeManager::ThemeManager(DefaultsStore& defaults)
    : defaults_(defaults), flavor_(storedFlavor(defaults)), waveformAccent_(storedAccent(defaults)) {}

// Stored first, then told: an observer that chooses again has the last word in the store, too.
void ThemeManager::setFlavor(NightfallFlavor flavor) {
    defaults_.set(kFlavorKey, std::string(rawValue(flavor)));
    flavor_.set(flavor);
}

void ThemeManager::setWaveformAccent(NightfallWaveformAccent accent) {
    defaults_.set(kAccentKey, std::string(rawValue(accent)));
    waveformAccent_.set(accent);
}

} // namespace rewindle
