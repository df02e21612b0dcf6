#pragma once

#include "host/files/TemporaryFolder.h"

#include <fstream>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace rewindle::test {

/// A file system of its own in memory, so small that it fills up, which can be made read-only. Only this
/// process sees it. An ordinary user gets one, too, where the system lets users have their own mounts.
class SmallMount {
public:
    SmallMount() : mounted_(canMount() && mountAt(folder_.path.c_str())) {}
    SmallMount(const SmallMount&) = delete;
    ~SmallMount() {
        if (mounted_) ::umount2(folder_.path.c_str(), MNT_DETACH);
    }

    /// False where the system allows nothing of the kind.
    [[nodiscard]] bool isMounted() const { return mounted_; }
    [[nodiscard]] const std::filesystem::path& path() const { return folder_.path; }
    [[nodiscard]] bool makeReadOnly() const {
        return ::mount("none", folder_.path.c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, nullptr) == 0;
    }

private:
    static bool mountAt(const char* path) { return ::mount("none", path, "tmpfs", 0, "size=64k,mode=777") == 0; }
    /// Once per process: gets it mounts of its own, as root directly, otherwise as the root of a user
    /// namespace.
    static bool canMount() {
        static const bool can = [] {
            const auto user = std::to_string(::geteuid());
            const auto group = std::to_string(::getegid());
            if (::unshare(CLONE_NEWNS) != 0) {
                if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
                std::ofstream("/proc/self/setgroups") << "deny";
                std::ofstream("/proc/self/uid_map") << "0 " + user + " 1";
                std::ofstream("/proc/self/gid_map") << "0 " + group + " 1";
            }
            return ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
        }();
        return can;
    }

    TemporaryFolder folder_;
    bool mounted_;
};

} // namespace rewindle::test
