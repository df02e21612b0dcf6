#include "host/defaults/JsonDefaultsText.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace rewindle {
namespace {

constexpr std::string_view kSpace = " \t\r\n";

QByteArray bytesOf(std::string_view text) {
    return {text.data(), static_cast<qsizetype>(text.size())};
}

/// Takes a JSON text apart that is known to be valid.
class Scanner {
public:
    explicit Scanner(std::string_view text) : rest_(text) {}

    char next() {
        rest_.remove_prefix(std::min(rest_.find_first_not_of(kSpace), rest_.size()));
        return rest_.empty() ? '\0' : rest_.front();
    }
    void skip() { rest_.remove_prefix(1); }
    /// The next value, or key, as it is written.
    std::string_view value() {
        const char first = next();
        const auto length = first == '"'                   ? stringLength()
                            : first == '{' || first == '[' ? nestLength()
                                                           : wordLength();
        const auto text = rest_.substr(0, length);
        rest_.remove_prefix(length);
        return text;
    }

private:
    [[nodiscard]] std::size_t stringLength(std::size_t from = 0) const {
        auto end = from + 1;
        while (rest_[end] != '"')
            end += rest_[end] == '\\' ? 2 : 1;
        return end + 1 - from;
    }
    [[nodiscard]] std::size_t nestLength() const {
        std::size_t end = 0;
        int depth = 0;
        do {
            const char c = rest_[end];
            if (c == '{' || c == '[') ++depth;
            if (c == '}' || c == ']') --depth;
            end += c == '"' ? stringLength(end) : 1;
        } while (depth > 0);
        return end;
    }
    [[nodiscard]] std::size_t wordLength() const { return std::min(rest_.find_first_of(",}] \t\r\n"), rest_.size()); }

    std::string_view rest_;
};

/// A JSON value by itself, by way of an array, which is what the parser takes.
QJsonValue parsedValue(std::string_view text) {
    return QJsonDocument::fromJson("[" + bytesOf(text) + "]").array().at(0);
}

std::string decodedString(std::string_view text) {
    return parsedValue(text).toString().toStdString();
}

JsonMembers membersOf(std::string_view object) {
    JsonMembers members;
    Scanner scanner(object);
    scanner.next();
    for (scanner.skip(); scanner.next() != '}';) {
        const auto key = decodedString(scanner.value());
        scanner.next();
        scanner.skip(); // the colon
        putJson(members, key, std::string(scanner.value()));
        if (scanner.next() == ',') scanner.skip();
    }
    return members;
}

std::optional<double> decodedDouble(std::string_view text) {
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return number;
}

DefaultsValue decodedNumber(std::string_view text) {
    std::int64_t integer = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), integer);
    if (error == std::errc{} && end == text.data() + text.size()) return integer;
    if (const auto number = decodedDouble(text)) return *number;
    return ForeignDefaultsValue{};
}

DefaultsValue decodedDictionary(std::string_view text) {
    DefaultsDictionary dictionary;
    for (const auto& [key, value] : membersOf(text)) {
        const auto number = decodedDouble(value);
        if (!number) return ForeignDefaultsValue{};
        dictionary.emplace(key, *number);
    }
    return dictionary;
}

std::optional<std::string> encodedString(std::string_view text) {
    const auto string = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    if (string.toUtf8() != bytesOf(text)) return std::nullopt;
    const auto array = QJsonDocument(QJsonArray{string}).toJson(QJsonDocument::Compact);
    return array.mid(1, array.size() - 2).toStdString();
}

std::optional<std::string> encodedDouble(double number) {
    if (!std::isfinite(number)) return std::nullopt;
    std::array<char, 32> digits{}; // the shortest form that reads back as the same number has at most 24
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    std::string text(digits.data(), end);
    if (text.find_first_of(".e") == std::string::npos) text += ".0";
    return text;
}

std::optional<std::string> encodedDictionary(const DefaultsDictionary& dictionary) {
    std::string text;
    for (const auto& [key, value] : dictionary) {
        const auto name = encodedString(key);
        const auto number = encodedDouble(value);
        if (!name || !number) return std::nullopt;
        text += (text.empty() ? "" : ", ") + *name + ": " + *number;
    }
    return "{" + text + "}";
}

struct Encoder {
    using Text = std::optional<std::string>;
    Text operator()(bool flag) const { return flag ? "true" : "false"; }
    Text operator()(std::int64_t number) const { return std::to_string(number); }
    Text operator()(double number) const { return encodedDouble(number); }
    Text operator()(const std::string& text) const { return encodedString(text); }
    Text operator()(const DefaultsDictionary& dictionary) const { return encodedDictionary(dictionary); }
    Text operator()(const ForeignDefaultsValue&) const { return std::nullopt; }
};

} // namespace

std::optional<JsonMembers> parseJsonMembers(std::string_view file) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (file.starts_with(kByteOrderMark)) file.remove_prefix(kByteOrderMark.size());
    if (!QJsonDocument::fromJson(bytesOf(file)).isObject()) return std::nullopt;
    return membersOf(file);
}

std::string jsonFile(const JsonMembers& members) {
    std::string file;
    for (const auto& [key, text] : members) {
        // A key that was read from a file, or could be encoded before, is UTF-8.
        file += (file.empty() ? "\n    " : ",\n    ") + encodedString(key).value_or("\"\"") + ": " + text;
    }
    return "{" + file + "\n}\n";
}

const std::string* findJson(const JsonMembers& members, std::string_view key) {
    const auto found = std::ranges::find(members, key, &JsonMember::key);
    return found != members.end() ? &found->text : nullptr;
}

void putJson(JsonMembers& members, std::string_view key, std::string text) {
    const auto found = std::ranges::find(members, key, &JsonMember::key);
    if (found != members.end()) {
        found->text = std::move(text);
    } else {
        members.push_back({std::string(key), std::move(text)});
    }
}

void removeJson(JsonMembers& members, std::string_view key) {
    std::erase_if(members, [&](const JsonMember& member) { return member.key == key; });
}

DefaultsValue decodeJson(const std::string& text) {
    switch (text.front()) {
    case 't': return true;
    case 'f': return false;
    case '"': return decodedString(text);
    case '{': return decodedDictionary(text);
    case '[':
    case 'n': return ForeignDefaultsValue{};
    default: return decodedNumber(text);
    }
}

std::optional<std::string> encodeJson(const DefaultsValue& value) {
    return std::visit(Encoder(), value);
}

} // namespace rewindle
