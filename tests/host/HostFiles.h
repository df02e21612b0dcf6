#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

namespace rewindle::test {

/// A program that is these commands of a shell.
inline std::filesystem::path script(const std::filesystem::path& file, const std::string& commands) {
    std::ofstream(file) << "#!/bin/sh\n" << commands << "\n";
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
    return file;
}

/// While it lives, this process has no more rights than an ordinary user, who owns `folder`.
class OrdinaryUser {
public:
    explicit OrdinaryUser(const std::filesystem::path& folder) : wasRoot_(::geteuid() == 0) {
        if (!wasRoot_) return;
        EXPECT_EQ(::chown(folder.c_str(), kNobody, kNobody), 0);
        EXPECT_EQ(::seteuid(kNobody), 0);
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;
    ~OrdinaryUser() { EXPECT_TRUE(!wasRoot_ || ::seteuid(0) == 0); }

private:
    static constexpr uid_t kNobody = 65'534;
    const bool wasRoot_;
};

/// While it lives, this process may have no more than that of a resource.
class ResourceLimit {
public:
    ResourceLimit(__rlimit_resource_t resource, rlim_t most) : resource_(resource) {
        EXPECT_EQ(::getrlimit(resource, &before_), 0);
        const rlimit limit{.rlim_cur = most, .rlim_max = before_.rlim_max};
        EXPECT_EQ(::setrlimit(resource, &limit), 0);
    }
    ResourceLimit(const ResourceLimit&) = delete;
    ResourceLimit& operator=(const ResourceLimit&) = delete;
    ~ResourceLimit() { ::setrlimit(resource_, &before_); }

private:
    const __rlimit_resource_t resource_;
    rlimit before_{};
};

} // namespace rewindle::test
