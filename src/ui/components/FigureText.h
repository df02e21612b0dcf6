#pragma once

#include <QString>

#include <string>

namespace rewindle {

/// A number's text as the windows show it: its minus is as wide as its plus, where a hyphen would be narrower.
[[nodiscard]] inline QString figureText(const std::string& text) {
    return QString::fromStdString(text).replace(u'-', u'−');
}

} // namespace rewindle
