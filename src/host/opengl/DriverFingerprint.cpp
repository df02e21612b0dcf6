#include "host/opengl/DriverFingerprint.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string_view>
#include <vector>

namespace rewindle {
namespace {

namespace fs = std::filesystem;

constexpr std::array kVariables{"DISPLAY",
                                "WAYLAND_DISPLAY",
                                "XDG_SESSION_TYPE",
                                "QT_QPA_PLATFORM",
                                "QT_OPENGL",
                                "QT_XCB_GL_INTEGRATION",
                                "LIBGL_ALWAYS_SOFTWARE",
                                "GALLIUM_DRIVER",
                                "DRI_PRIME",
                                "LIBGL_DRIVERS_PATH",
                                "MESA_LOADER_DRIVER_OVERRIDE",
                                "MESA_GL_VERSION_OVERRIDE",
                                "LD_LIBRARY_PATH",
                                "__NV_PRIME_RENDER_OFFLOAD",
                                "__GLX_VENDOR_LIBRARY_NAME",
                                "__EGL_VENDOR_LIBRARY_FILENAMES"};

// Files of drivers, in a folder of libraries; a package that brings a new version replaces them.
constexpr std::array kDriverFiles{"libEGL_mesa.so.0", "libGLX_mesa.so.0", "libEGL_nvidia.so.0", "libGLX_nvidia.so.0",
                                  "dri"};
constexpr std::array kVendorFolders{"usr/share/glvnd/egl_vendor.d", "etc/glvnd/egl_vendor.d"};
constexpr std::array kGpuFiles{"device/vendor", "device/device"};

/// A sum over texts that stays the same from one build of the program to the next.
class TextSum {
public:
    void add(std::string_view text) {
        for (const char letter : text)
            add(static_cast<unsigned char>(letter));
        add('\0'); // so that "a", "b" differs from "ab"
    }
    [[nodiscard]] std::string hex() const {
        std::array<char, 16> digits{};
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), sum_, 16).ptr;
        return {digits.data(), end};
    }

private:
    void add(unsigned char value) { // FNV-1a
        sum_ ^= value;
        sum_ *= 0x100000001b3;
    }
    std::uint64_t sum_ = 0xcbf29ce484222325;
};

std::vector<fs::path> sortedEntries(const fs::path& folder) {
    std::error_code error;
    std::vector<fs::path> entries;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        entries.push_back(entry->path());
    std::ranges::sort(entries);
    return entries;
}

/// A link to a file of another version counts as another file.
void addFile(TextSum& sum, const fs::path& file) {
    std::error_code error;
    const auto time = fs::last_write_time(file, error);
    if (error) return;
    sum.add(fs::canonical(file, error).native());
    sum.add(std::to_string(time.time_since_epoch().count()));
}

void addText(TextSum& sum, const fs::path& file) {
    std::ifstream stream(file);
    sum.add(std::string(std::istreambuf_iterator<char>(stream), {}));
}

void addDrivers(TextSum& sum, const fs::path& root) {
    std::vector<fs::path> folders{root / "usr/lib", root / "usr/lib64"};
    for (const auto& entry : sortedEntries(root / "usr/lib")) {
        if (entry.filename().native().find("-linux-gnu") != std::string::npos) folders.push_back(entry);
    }
    for (const auto& folder : folders) {
        for (const char* const name : kDriverFiles)
            addFile(sum, folder / name);
    }
    for (const char* const folder : kVendorFolders) {
        for (const auto& vendor : sortedEntries(root / folder))
            addFile(sum, vendor);
    }
    addText(sum, root / "sys/module/nvidia/version");
}

void addGpus(TextSum& sum, const fs::path& root) {
    for (const auto& entry : sortedEntries(root / "sys/class/drm")) {
        if (!entry.filename().native().starts_with("renderD")) continue;
        for (const char* const name : kGpuFiles)
            addText(sum, entry / name);
    }
}

} // namespace

std::string driverFingerprint(const std::function<const char*(const char*)>& environment, const fs::path& root) {
    TextSum sum;
    for (const char* const name : kVariables) {
        const char* const value = environment(name);
        sum.add(value ? value : "");
    }
    addDrivers(sum, root);
    addGpus(sum, root);
    return sum.hex();
}

} // namespace rewindle
