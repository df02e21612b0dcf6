#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>

namespace rewindle::test {

inline std::string contentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
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

} // namespace rewindle::test
