#include "host/desktop/DesktopWords.h"

#include <gtest/gtest.h>

namespace rewindle::test {
namespace {

TEST(DesktopWordsTest, ThingsAndKeysOfOtherDesktopsAreCalledByTheirNamesHere) {
    const std::pair<const char*, const char*> cases[] = {
        {"Open System Settings", "Open Settings"},
        {"Reveal Clips Folder in Finder", "Reveal Clips Folder in File Manager"},
        {"what your Mac is playing.", "what your computer is playing."},
        {"Tap Allow when macOS asks.", "Tap Allow when rewindle asks."},
        {"⌘C", "Ctrl+C"},
        {"⌘⇧L", "Ctrl+Shift+L"},
        {"⌘+", "Ctrl++"},
        {"⌥←", "Alt+←"},
        {"⇧", "Shift"},
        {"⌘ scroll", "Ctrl scroll"},
        {"Command-Shift-K", "Ctrl+Shift+K"},
        {"Option", "Alt"},
        {"Machine, MacBook, Options, Pathfinder, commands, Preshift",
         "Machine, MacBook, Options, Pathfinder, commands, Preshift"},
        {"Größe – 5 €", "Größe – 5 €"},
        {"", ""},
    };
    for (const auto& [there, here] : cases)
        EXPECT_EQ(inWordsOfThisDesktop(there), here);
}

} // namespace
} // namespace rewindle::test
