#include "render/gpu/GpuProbe.h"

#include <algorithm>
#include <array>
#include <utility>

namespace rewindle {
namespace {

constexpr std::string_view kHardware = "hardware ", kSoftware = "software ";
constexpr std::string_view kGL = "gl ", kES = "es ";
constexpr std::string_view kFirstFailure = "failed once";
constexpr std::string_view kFailed = "none"; // an answer like any other
constexpr char kSeparator = '|';

/// What is remembered for this fingerprint; empty if nothing is. Stored as "fingerprint|text".
std::string rememberedText(const DefaultsStore& defaults, std::string_view fingerprint) {
    const auto stored = defaults.value<std::string>(GpuProbe::kDefaultsKey).value_or("");
    const auto separator = stored.find(kSeparator);
    if (separator == stored.npos || stored.compare(0, separator, fingerprint) != 0) return {};
    return stored.substr(separator + 1);
}

/// Takes `start` off the front of `text` if it is there.
bool take(std::string_view& text, std::string_view start) {
    if (!text.starts_with(start)) return false;
    text.remove_prefix(start.size());
    return true;
}

std::string_view firstLine(std::string_view text) {
    return text.substr(0, text.find('\n'));
}

} // namespace

std::string probeLine(const GpuProbeAnswer& answer) {
    if (answer.kind == GpuKind::none) return "none";
    return std::string(answer.kind == GpuKind::hardware ? kHardware : kSoftware) +
           std::string(answer.isES ? kES : kGL) + std::string(firstLine(answer.driver));
}

std::optional<GpuProbeAnswer> answerFromProbeLine(std::string_view line) {
    auto rest = firstLine(line);
    if (rest == "none") return GpuProbeAnswer{};
    GpuProbeAnswer answer;
    if (take(rest, kHardware)) {
        answer.kind = GpuKind::hardware;
    } else if (take(rest, kSoftware)) {
        answer.kind = GpuKind::software;
    } else {
        return std::nullopt;
    }
    answer.isES = take(rest, kES);
    if (!answer.isES && !take(rest, kGL)) return std::nullopt;
    answer.driver = rest;
    return answer;
}

bool isSoftwareRenderer(std::string_view rendererName) {
    constexpr std::array<std::string_view, 6> kNames{"llvmpipe", "softpipe",    "swrast",
                                                     "Software", "SwiftShader", "Microsoft Basic Render"};
    return std::ranges::any_of(kNames, [&](std::string_view name) { return rendererName.find(name) != name.npos; });
}

GpuProbeAnswer GpuProbe::answer() {
    const std::string fingerprint = host_.driverFingerprint();
    const std::string remembered = rememberedText(defaults_, fingerprint);
    if (auto known = answerFromProbeLine(remembered)) return *std::move(known);

    const auto line = host_.runProbeChild();
    const auto found = line ? answerFromProbeLine(*line) : std::nullopt;
    std::string text(remembered == kFirstFailure ? kFailed : kFirstFailure);
    if (found) text = probeLine(*found);
    log_.info(found ? "GPU: " + text : "no GPU is used: the probe failed");
    defaults_.set(kDefaultsKey, fingerprint + kSeparator + text);
    return found.value_or(GpuProbeAnswer{});
}

} // namespace rewindle
