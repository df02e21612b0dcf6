#pragma once

#include <span>
#include <string>
#include <string_view>

namespace rewindle {

/// What feeds a vertex function.
enum class ShaderInput : unsigned char { coloredVertices, rampVertices, texVertices, columns, fragment };

/// One entry point of the shader program.
struct ShaderText {
    std::string_view name; // see ShaderFunctions.h
    ShaderInput input;     // `fragment` for fragment functions
    std::string_view body; // GLSL that both OpenGL 3.3 and OpenGL ES 3.0 compile, after `shaderHeader`
};

[[nodiscard]] std::span<const ShaderText> shaderTexts();
[[nodiscard]] std::string_view shaderHeader(bool isES);

} // namespace rewindle
