#include "host/process/XdgLoginItem.h"

#include "base/SystemError.h"
#include "host/files/FileReplacement.h"
#include "host/files/UserFolders.h"

#include <QString>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <unistd.h>

namespace rewindle {
namespace {

using Path = std::filesystem::path;

bool liesInBuildFolder(const Path& executable) {
    for (Path folder = executable.parent_path();; folder = folder.parent_path()) {
        std::error_code ignored;
        if (std::filesystem::exists(folder / "CMakeCache.txt", ignored)) return true;
        if (!folder.has_relative_path()) return false;
    }
}

/// A value of the type string: the entry's own escapes, which come first when it is read.
std::string escapedString(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
        case '\\': escaped += "\\\\"; break;
        case '\n': escaped += "\\n"; break;
        case '\t': escaped += "\\t"; break;
        case '\r': escaped += "\\r"; break;
        default: escaped += c;
        }
    }
    return text.starts_with(' ') ? "\\s" + escaped.substr(1) : escaped;
}

/// One argument of a command line, quoted whether it needs it or not.
std::string quotedArgument(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (std::string_view("\"`$\\").find(c) != std::string_view::npos) quoted += '\\';
        if (c == '%') quoted += '%';
        quoted += c;
    }
    return quoted + "\"";
}

/// Some desktops look for the program before they resolve "%%"; they find another one in front of it.
std::string commandLine(const std::string& program) {
    const char* const before = program.find('%') != std::string::npos ? "env " : "";
    return before + quotedArgument(program) + " --hidden";
}

bool isUtf8(const std::string& text) {
    return QString::fromStdString(text).toStdString() == text;
}

bool holds(const Path& file, const std::string& content) {
    std::ifstream stream(file, std::ios::binary);
    return stream && std::string(std::istreambuf_iterator<char>(stream), {}) == content;
}

Error notRegistered(int code, const std::string& why) {
    return {code, "not registered: " + why};
}

} // namespace

std::string autostartEntry(const Path& executable) {
    // TryExec: an entry that outlives the program is passed over in silence.
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=rewindle\n"
           "Comment=Keep the last minutes of what the computer plays\n"
           "Exec=" +
           escapedString(commandLine(executable.native())) +
           "\n"
           "TryExec=" +
           escapedString(executable.native()) +
           "\n"
           "Icon=com.rewindle.Rewindle\n"
           "Terminal=false\n";
}

Path XdgLoginItem::defaultFolder() {
    return currentUserFolders().config / "autostart";
}

Result<void> XdgLoginItem::registerMainApp() {
    if (!executable_) return notRegistered(ENOENT, "the program's own file cannot be found");
    if (liesInBuildFolder(*executable_)) return notRegistered(EPERM, "this copy runs from a build folder");
    if (!isUtf8(executable_->native())) return notRegistered(EILSEQ, "the program's path is not valid UTF-8");

    const auto content = autostartEntry(*executable_);
    if (holds(entry_, content)) return {};
    if (const auto made = createPrivateFolders(entry_.parent_path()); !made)
        return notRegistered(made.error().code, made.error().message);
    const auto written = replaceFile(entry_, ownTemporaryFor(entry_), content, Durability::againstCrash);
    if (!written) return notRegistered(written.error().code, written.error().message);
    return {};
}

Result<void> XdgLoginItem::unregisterMainApp() {
    if (::unlink(entry_.c_str()) == 0 || errno == ENOENT || errno == ENOTDIR) return {};
    auto error = systemError(errno);
    return Error{error.code, "not unregistered: " + error.message};
}

} // namespace rewindle
