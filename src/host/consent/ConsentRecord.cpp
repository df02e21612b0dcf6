#include "host/consent/ConsentRecord.h"

#include "base/SystemError.h"
#include "host/files/FileReplacement.h"
#include "host/files/UserFolders.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>

namespace rewindle {
namespace {

constexpr std::string_view kYes = "yes\n";
constexpr std::string_view kNo = "no\n";

} // namespace

ConsentRecord::Path ConsentRecord::defaultFile() {
    return currentUserFolders().config / "rewindle" / "consent";
}

std::optional<bool> ConsentRecord::read() {
    // A pipe under this name must not hold us up.
    const FileHandle handle(::open(file_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!handle.isOpen() && (errno == ENOENT || errno == ENOTDIR)) {
        refused_ = false;
        return std::nullopt;
    }
    std::array<char, 8> content{}; // more than any answer has
    const auto length = handle.isOpen() ? ::read(handle.get(), content.data(), content.size()) : -1;
    if (length < 0) return refuse(systemError(errno).message);
    const std::string_view text(content.data(), static_cast<std::size_t>(length));
    if (text != kYes && text != kNo) return refuse("it says neither yes nor no");
    refused_ = false;
    return text == kYes;
}

std::optional<bool> ConsentRecord::refuse(const std::string& why) {
    if (!refused_) log_.warning("The record of consent in " + file_.native() + " counts as a no: " + why + ".");
    refused_ = true;
    return false;
}

Result<void> ConsentRecord::write(bool granted) {
    if (auto made = createPrivateFolders(file_.parent_path()); !made) return made;
    const auto written =
        replaceFile(file_, ownTemporaryFor(file_), granted ? kYes : kNo, Durability::againstPowerFailure);
    if (written) return {};
    // A no needs no room on a full disk: without the record there is no consent either.
    if (!granted && ::unlink(file_.c_str()) == 0) return {};
    return written.error();
}

} // namespace rewindle
