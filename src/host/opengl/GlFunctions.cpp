#include "host/opengl/GlFunctions.h"

#include <charconv>
#include <string_view>
#include <utility>

namespace rewindle {
namespace {

using Version = std::pair<int, int>;

std::string_view textOf(const GlFunctions& gl, GLenum name) {
    const auto* const text = gl.getString(name);
    return text ? reinterpret_cast<const char*>(text) : "";
}

/// "3.3 ..." or "OpenGL ES 3.0 ..."
Version versionIn(std::string_view text) {
    const auto digits = text.substr(std::min(text.find_first_of("0123456789"), text.size()));
    Version version{0, 0};
    const char* const end = digits.data() + digits.size();
    const auto major = std::from_chars(digits.data(), end, version.first);
    if (major.ptr != end && *major.ptr == '.') std::from_chars(major.ptr + 1, end, version.second);
    return version;
}

int integerOf(const GlFunctions& gl, GLenum name) {
    GLint value = 0;
    gl.getIntegerv(name, &value);
    return value;
}

bool findAll(GlFunctions& gl, const GlLoader& loader) {
    bool complete = true;
#define REWINDLE_LOAD(type, member, name)                                                                            \
    gl.member = reinterpret_cast<type>(loader(name));                                                                \
    complete = complete && gl.member;
    REWINDLE_GL_FUNCTIONS(REWINDLE_LOAD)
#undef REWINDLE_LOAD
    return complete;
}

} // namespace

std::optional<GlFunctions> loadGlFunctions(const GlLoader& loader) {
    GlFunctions gl;
    // A driver may have an old context and yet know all functions: the version decides.
    if (!findAll(gl, loader)) return std::nullopt;
    const auto version = textOf(gl, GL_VERSION);
    gl.isES = version.starts_with("OpenGL ES");
    if (versionIn(version) < (gl.isES ? Version{3, 0} : Version{3, 3})) return std::nullopt;
    gl.maxTextureSize = integerOf(gl, GL_MAX_TEXTURE_SIZE);
    gl.maxSamples = integerOf(gl, GL_MAX_SAMPLES);
    gl.rendererName = textOf(gl, GL_RENDERER);
    return gl;
}

GLenum takeGlError(const GlFunctions& gl) {
    GLenum first = GL_NO_ERROR;
    constexpr int kMost = 32; // a lost context may report errors for ever
    for (int i = 0; i < kMost; ++i) {
        const GLenum error = gl.getError();
        if (error == GL_NO_ERROR) break;
        if (first == GL_NO_ERROR) first = error;
    }
    return first;
}

} // namespace rewindle
