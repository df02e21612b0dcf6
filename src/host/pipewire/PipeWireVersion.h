#pragma once

#include <compare>
#include <string>

namespace rewindle {

/// The version of a sound server, or of its library here, and everything that depends on it.
/// docs/PLATFORM.md has what was measured on which.
struct PipeWireVersion {
    int major = 0;
    int minor = 0;
    int micro = 0;

    /// What "1.4.2" says; parts that cannot be read are 0.
    [[nodiscard]] static PipeWireVersion parse(const std::string& text);

    /// The value of `node.passive` with which a node that listens lets what it listens to sleep, and yet gets every
    /// cycle of it.
    [[nodiscard]] std::string passiveListener() const;
    /// Whether each link says that it is passive, because nodes cannot yet.
    [[nodiscard]] bool linksArePassive() const;
    /// The library's configuration for a client with a real-time thread.
    [[nodiscard]] std::string realTimeClientConfiguration() const;

    // NOLINTNEXTLINE(modernize-use-nullptr): of the comparison that the compiler writes
    friend auto operator<=>(const PipeWireVersion&, const PipeWireVersion&) = default;
};

} // namespace rewindle
