#include "render/GpuProbe.h"

#include <algorithm>
#include <array>
#include <utility>

namespace rewindle {
namespace {

constexpr std::array<std::pair<GpuKind, std::string_view>, 3> kKindNames{
    {{GpuKind::none, "none"}, {GpuKind::software, "software"}, {GpuKind::hardware, "hardware"}}};
constexpr std::string_view kFirstFailure = "failed once";
constexpr std::string_view kFailed = "none probe failed"; // an answer like any other
constexpr char kSeparator = '|';

/// What is remembered for this fingerprint; empty if nothing is. Stored as "fingerprint|text".
std::string rememberedText(const DefaultsStore& defaults, std::string_view fingerprint) {
    const auto stored = defaults.value<std::string>(GpuProbe::kDefaultsKey).value_or("");
    const auto separator = stored.find(kSeparator);
    if (separator == stored.npos || stored.compare(0, separator, fingerprint) != 0) return {};
    return stored.substr(separator + 1);
}

std::string_view firstLine(std::string_view text) {
    return text.substr(0, text.find('\n'));
}

} // namespace

std::string probeLine(const GpuProbeAnswer& answer) {
    const auto* const name = std::ranges::find(kKindNames, answer.kind, &decltype(kKindNames)::value_type::first);
    return std::string(name->second) + (answer.driver.empty() ? "" : " ") + std::string(firstLine(answer.driver));
}

std::optional<GpuProbeAnswer> answerFromProbeLine(std::string_view line) {
    const auto text = firstLine(line);
    const auto space = text.find(' ');
    const auto* const name =
        std::ranges::find(kKindNames, text.substr(0, space), &decltype(kKindNames)::value_type::second);
    if (name == kKindNames.end()) return std::nullopt;
    return GpuProbeAnswer{name->first, space == text.npos ? "" : std::string(text.substr(space + 1))};
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
