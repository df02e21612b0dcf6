#pragma once

#include <string>
#include <string_view>

namespace rewindle {

/// A text of the interface with the things and keys of other desktops called by their names here: "Finder" becomes
/// "File Manager", "⌘⇧L" and "Command-Shift-L" become "Ctrl+Shift+L". Only whole words are replaced.
///
/// Shape:   UTF-8 in, UTF-8 out.
/// Threads: any.
[[nodiscard]] std::string inWordsOfThisDesktop(std::string_view text);

} // namespace rewindle
