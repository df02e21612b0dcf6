#pragma once

#include "base/Log.h"
#include "platform/DefaultsStore.h"
#include "platform/GpuProbeHost.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace rewindle {

enum class GpuKind : std::uint8_t { none, software, hardware };

/// What a probe found.
struct GpuProbeAnswer {
    GpuKind kind = GpuKind::none;
    bool isES = false;    // contexts are to be made for OpenGL ES
    std::string driver{}; // what it calls itself; one line
    friend bool operator==(const GpuProbeAnswer&, const GpuProbeAnswer&) = default;
};

/// The line that a probe child prints: "hardware gl Mesa Intel(R) UHD Graphics 620", "software es llvmpipe", "none".
[[nodiscard]] std::string probeLine(const GpuProbeAnswer& answer);
/// None when it is no such line.
[[nodiscard]] std::optional<GpuProbeAnswer> answerFromProbeLine(std::string_view line);
/// Whether the name that a context gives its renderer is that of one which draws on the processor.
[[nodiscard]] bool isSoftwareRenderer(std::string_view rendererName);

/// Finds out which GPU there is, in a child that may crash, and remembers the answer until the drivers change. A
/// child that failed is tried again at the next start; a second failure in a row is remembered, too.
///
/// Threads: interface thread.
class GpuProbe {
public:
    static constexpr std::string_view kDefaultsKey = "render.gpuProbe";

    GpuProbe(DefaultsStore& defaults, GpuProbeHost& host, Log log)
        : defaults_(defaults), host_(host), log_(std::move(log)) {}

    /// Returns at once when the answer is remembered. No GPU when the child failed.
    [[nodiscard]] GpuProbeAnswer answer();
    /// To be called when a context turned out to be something else than the answer: the next start probes again.
    void forget() { defaults_.remove(kDefaultsKey); }

private:
    DefaultsStore& defaults_;
    GpuProbeHost& host_;
    Log log_;
};

} // namespace rewindle
