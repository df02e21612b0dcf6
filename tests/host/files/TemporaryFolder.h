#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace rewindle::test {

/// A new folder on the host, gone with all that is in it at the end.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "rewindle-test-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
        path = name;
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }

    std::filesystem::path path;
};

/// The names of all that lies in `folder`, hidden files included.
inline std::vector<std::string> namesIn(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path().filename());
    return names;
}

inline std::string contentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace rewindle::test
