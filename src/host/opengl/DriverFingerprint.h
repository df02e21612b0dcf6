#pragma once

#include <filesystem>
#include <functional>
#include <string>

namespace rewindle {

/// A short text that changes when another driver may be at work than before: other driver files or versions of them,
/// another GPU, another display, or another choice between drivers by the environment. Reads a few small files.
///
/// `environment` gives a variable's value or null; files are looked for below `root`.
[[nodiscard]] std::string driverFingerprint(const std::function<const char*(const char*)>& environment,
                                            const std::filesystem::path& root = "/");

} // namespace rewindle
