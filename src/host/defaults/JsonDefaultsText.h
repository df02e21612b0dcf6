#pragma once

#include "platform/DefaultsStore.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The text of a settings file: one JSON object. Values are kept as the text that they were written as, so that
/// what this program does not know comes through a rewrite as it was.
namespace rewindle {

struct JsonMember {
    std::string key;
    std::string text; // of the value
    friend bool operator==(const JsonMember&, const JsonMember&) = default;
};
/// In the order of the file; no key comes twice.
using JsonMembers = std::vector<JsonMember>;

/// None when the text is no JSON object.
[[nodiscard]] std::optional<JsonMembers> parseJsonMembers(std::string_view file);
[[nodiscard]] std::string jsonFile(const JsonMembers& members);

[[nodiscard]] const std::string* findJson(const JsonMembers& members, std::string_view key);
void putJson(JsonMembers& members, std::string_view key, std::string text);
void removeJson(JsonMembers& members, std::string_view key);

/// A number is an integer when it is written as one. Requires: `text` comes from above.
[[nodiscard]] DefaultsValue decodeJson(const std::string& text);
/// Writes whole doubles with their ".0". None for what JSON has no form for: text that is no UTF-8, a number that is
/// not finite, a foreign value.
[[nodiscard]] std::optional<std::string> encodeJson(const DefaultsValue& value);

} // namespace rewindle
