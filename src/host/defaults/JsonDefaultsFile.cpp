#include "host/defaults/JsonDefaultsFile.h"

#include "base/SystemError.h"
#include "host/files/FileLock.h"
#include "host/files/FileReplacement.h"
#include "host/files/RenameWithoutReplacing.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace rewindle {
namespace {

using Path = std::filesystem::path;

bool isSame(const timespec& a, const timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

bool isSame(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size && isSame(a.st_mtim, b.st_mtim) &&
           isSame(a.st_ctim, b.st_ctim);
}

Result<std::string> contentOf(int descriptor) {
    std::string content;
    std::array<char, 16'384> part{};
    for (;;) {
        const auto length = ::read(descriptor, part.data(), part.size());
        if (length == 0) return content;
        if (length > 0) {
            content.append(part.data(), static_cast<std::size_t>(length));
        } else if (errno != EINTR) {
            return systemError(errno);
        }
    }
}

} // namespace

const JsonMembers& JsonDefaultsFile::members() {
    struct stat now {};
    if (::stat(path_.c_str(), &now) == 0) {
        if (!seenFile_ || !isSame(now, seen_)) read();
    } else {
        forget(errno);
    }
    return members_;
}

void JsonDefaultsFile::forget(int error) {
    seenFile_.reset();
    members_.clear();
    damaged_ = false;
    unreadable_ = error == ENOENT ? 0 : error;
}

void JsonDefaultsFile::read() {
    // A pipe under this name must not hold us up.
    FileHandle file(::open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file.isOpen() || ::fstat(file.get(), &seen_) != 0) {
        return forget(errno);
    }
    const auto content = contentOf(file.get());
    if (!content) return forget(content.error().code);
    seenFile_.emplace(std::move(file));
    unreadable_ = 0;
    auto members = parseJsonMembers(content.value());
    damaged_ = !members;
    if (members) members_ = std::move(*members); // else somebody may be in the middle of writing it
}

Path JsonDefaultsFile::lockPath() const {
    return path_.native() + ".lock";
}

Result<bool> JsonDefaultsFile::change(const Change& change, std::chrono::milliseconds patience) {
    if (const auto made = createPrivateFolders(path_.parent_path()); !made) return made.error();
    const auto lock = FileLock::acquire(lockPath(), patience);
    if (!lock) return lock.error();
    auto changed = members();
    change(changed);
    if (unreadable_ != 0) return systemError(unreadable_); // it may hold what must not be lost
    if (damaged_) {
        if (const auto aside = setAside(); !aside) return aside.error();
    } else if (changed == members_) {
        return false;
    }
    if (const auto written = write(std::move(changed)); !written) return written.error();
    return true;
}

Result<void> JsonDefaultsFile::setAsideIfDamaged(std::chrono::milliseconds patience) {
    const auto lock = FileLock::acquire(lockPath(), patience);
    if (!lock) return lock.error();
    (void)members(); // another process may have done it meanwhile
    return damaged_ ? setAside() : Result<void>();
}

Result<void> JsonDefaultsFile::setAside() {
    const auto file = behindLinks(path_);
    for (int number = 0;; ++number) {
        const Path aside = file.native() + ".bad" + (number == 0 ? "" : "." + std::to_string(number));
        const int error = renameWithoutReplacing(file, aside);
        if (error == EEXIST) continue;
        if (error != 0) return systemError(error);
        seenFile_.reset();
        damaged_ = false;
        setAside_ = aside;
        return {};
    }
}

Result<void> JsonDefaultsFile::write(JsonMembers members) {
    const auto file = behindLinks(path_); // a link is somebody's way to keep the file elsewhere
    const Path temporary = file.parent_path() / ("." + file.filename().native() + ".tmp"); // the lock is ours
    auto written = replaceFile(file, temporary, jsonFile(members), Durability::againstCrash);
    if (!written) return written.error();
    seenFile_.emplace(std::move(written).value());
    if (::fstat(seenFile_->get(), &seen_) != 0) seenFile_.reset(); // then it is read again
    members_ = std::move(members);
    return {};
}

} // namespace rewindle
