#include "host/desktop/DesktopWords.h"

#include <gtest/gtest.h>

namespace rewindle::test {
namespace {

TEST(DesktopWordsTest, ThingsAndKeysOfOtherDesktopsAreCalledByTheirNamesHere) {
    struct Case {
        const char* there;
        const char* here;
    };
    for (const auto& [there, here] : {
             Case{"Open System Settings", "Open Settings"},
             Case{"Reveal Clips Folder in Finder", "Reveal Clips Folder in File Manager"},
             Case{"what your Mac is playing.", "what your computer is playing."},
             Case{"Tap Allow when macOS asks.", "Tap Allow when rewindle asks."},
             Case{"⌘C", "Ctrl+C"},
             Case{"⌘⇧L", "Ctrl+Shift+L"},
             Case{"⌘+", "Ctrl++"},
             Case{"⌥←", "Alt+←"},
             Case{"⇧", "Shift"},
             Case{"⌘ scroll", "Ctrl scroll"},
             Case{"Command-Shift-K", "Ctrl+Shift+K"},
             Case{"Option", "Alt"},
             Case{"Machine, MacBook, Options, Pathfinder, commands, Preshift",
                  "Machine, MacBook, Options, Pathfinder, commands, Preshift"},
             Case{"Größe – 5 €", "Größe – 5 €"},
             Case{"", ""},
         })
        EXPECT_EQ(inWordsOfThisDesktop(there), here);
}

} // namespace
} // namespace rewindle::test
