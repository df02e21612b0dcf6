#include "host/pipewire/PipeWireVersion.h"

#include <cstdio>
#include <tuple>

namespace rewindle {

PipeWireVersion PipeWireVersion::parse(const std::string& text) {
    PipeWireVersion version;
    std::ignore = std::sscanf(text.c_str(), "%d.%d.%d", &version.major, &version.minor, &version.micro);
    return version;
}

std::string PipeWireVersion::passiveListener() const {
    // From 1.7 on an input that is passive by itself no longer runs with what it listens to.
    return *this < PipeWireVersion{1, 7, 0} ? "in" : "in-follow";
}

bool PipeWireVersion::linksArePassive() const {
    return *this < PipeWireVersion{0, 3, 67};
}

std::string PipeWireVersion::realTimeClientConfiguration() const {
    return *this < PipeWireVersion{1, 3, 81} ? "client-rt.conf" : "client.conf";
}

} // namespace rewindle
