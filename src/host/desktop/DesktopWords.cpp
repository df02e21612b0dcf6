#include "host/desktop/DesktopWords.h"

#include <array>

namespace rewindle {
namespace {

struct Word {
    std::string_view there;
    std::string_view here;
};

// The first that fits wins: longer ones stand before those that they begin with.
constexpr std::array kWords{
    Word{"System Settings", "Settings"},
    Word{"Finder", "File Manager"},
    Word{"macOS", "rewindle"}, // it is this program itself that asks, no desktop here does
    Word{"Mac", "computer"},
};
// In front of another key they are joined to it: "Command-S" and "⌘S" are "Ctrl+S".
constexpr std::array kKeys{
    Word{"Command", "Ctrl"},
    Word{"Option", "Alt"},
    Word{"Control", "Meta"},
    Word{"Shift", "Shift"},
};
constexpr std::array kSymbols{
    Word{"⌘", "Ctrl"},
    Word{"⇧", "Shift"},
    Word{"⌥", "Alt"},
    Word{"⌃", "Meta"},
};

bool isWordCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || (c & 0x80) != 0;
}

/// The entry that `rest` begins with; when `whole`, only if the word ends there.
template <std::size_t n>
const Word* leading(const std::array<Word, n>& words, std::string_view rest, bool whole) {
    for (const auto& word : words) {
        const auto size = word.there.size();
        if (rest.starts_with(word.there) && !(whole && rest.size() > size && isWordCharacter(rest[size])))
            return &word;
    }
    return nullptr;
}

} // namespace

std::string inWordsOfThisDesktop(std::string_view text) {
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        const auto rest = text.substr(at);
        const bool atWord = at == 0 || !isWordCharacter(text[at - 1]) || !isWordCharacter(text[at]);
        const Word* const symbol = leading(kSymbols, rest, false);
        const Word* const key = atWord && !symbol ? leading(kKeys, rest, true) : nullptr;
        const Word* const word = atWord && !symbol && !key ? leading(kWords, rest, true) : nullptr;
        if (symbol) {
            const auto next = rest.substr(symbol->there.size());
            result += symbol->here;
            if (!next.empty() && next.front() != ' ') result += '+';
            at += symbol->there.size();
        } else if (key) {
            const auto next = rest.substr(key->there.size());
            const bool joined = next.size() > 1 && next.front() == '-' && next[1] != ' ';
            result += key->here;
            if (joined) result += '+';
            at += key->there.size() + (joined ? 1 : 0);
        } else if (word) {
            result += word->here;
            at += word->there.size();
        } else {
            result += text[at++];
        }
    }
    return result;
}

} // namespace rewindle
