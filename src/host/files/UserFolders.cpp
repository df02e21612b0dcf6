#include "host/files/UserFolders.h"

#include <algorithm>
#include <cstdlib>
#include <pwd.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace rewindle {
namespace {

using Path = std::filesystem::path;

/// The variable's value when it is an absolute path; the base directory rules say to ignore any other.
std::optional<Path> absoluteFromEnvironment(const char* name) {
    const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): nobody changes the environment
    if (value == nullptr || value[0] != '/') return std::nullopt;
    return Path(value);
}

Path homeFromUserDatabase() {
    std::vector<char> storage(16'384);
    passwd entry{};
    passwd* found = nullptr;
    const int failed = ::getpwuid_r(::getuid(), &entry, storage.data(), storage.size(), &found);
    return failed == 0 && found != nullptr ? Path(found->pw_dir) : Path("/");
}

/// The text between the quotes at the start of `text`, with the backslashes of a shell taken out.
std::optional<std::string> unquoted(std::string_view text) {
    if (!text.starts_with('"')) return std::nullopt;
    std::string value;
    for (std::size_t i = 1; i < text.size(); ++i) {
        if (text[i] == '"') return value;
        if (text[i] == '\\' && i + 1 < text.size()) ++i;
        value += text[i];
    }
    return std::nullopt;
}

std::optional<Path> folderFromValue(const std::string& value, const Path& home) {
    constexpr std::string_view kHome = "$HOME";
    if (value == kHome || value.starts_with("$HOME/")) {
        const auto below = value.find_first_not_of('/', kHome.size());
        return below == std::string::npos ? home : home / value.substr(below);
    }
    if (value.starts_with('/')) return Path(value);
    return std::nullopt;
}

} // namespace

UserFolders currentUserFolders() {
    UserFolders folders;
    folders.home = absoluteFromEnvironment("HOME").value_or(Path());
    if (folders.home.empty()) folders.home = homeFromUserDatabase();
    folders.config = absoluteFromEnvironment("XDG_CONFIG_HOME").value_or(folders.home / ".config");
    return folders;
}

std::optional<Path> musicFolderFromUserDirs(std::string_view text, const Path& home) {
    constexpr std::string_view kKey = "XDG_MUSIC_DIR=";
    std::optional<Path> folder;
    while (!text.empty()) {
        auto line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
        if (!line.starts_with(kKey)) continue;
        const auto value = unquoted(line.substr(kKey.size()));
        if (const auto found = value ? folderFromValue(*value, home) : std::nullopt) folder = found;
    }
    return folder; // the last line that counts, as when a shell reads the file
}

} // namespace rewindle
