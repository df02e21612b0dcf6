#include "host/opengl/ShaderSource.h"

#include "render/gpu/ShaderFunctions.h"

#include <array>

namespace rewindle {
namespace {

using namespace ShaderFunctions;

constexpr std::string_view kColoredVertex = R"(
layout(location = 0) in vec2 position;
layout(location = 1) in vec4 color;
out vec4 vertexColor;
void main() {
    gl_Position = vec4(position, 0.0, 1.0);
    vertexColor = color;
}
)";

constexpr std::string_view kColoredFragment = R"(
in vec4 vertexColor;
out vec4 pixel;
void main() { pixel = vertexColor; }
)";

constexpr std::string_view kRampVertex = R"(
layout(location = 0) in vec2 position;
layout(location = 1) in float t;
out float rampT;
void main() {
    gl_Position = vec4(position, 0.0, 1.0);
    rampT = t;
}
)";

constexpr std::string_view kRampFragment = R"(
uniform sampler2D image;
in float rampT;
out vec4 pixel;
void main() {
    vec4 texel = texture(image, vec2(rampT, 0.5));
    pixel = vec4(texel.rgb * texel.a, texel.a);
}
)";

constexpr std::string_view kTexVertex = R"(
layout(location = 0) in vec2 position;
layout(location = 1) in vec2 uv;
out vec2 texUv;
void main() {
    gl_Position = vec4(position, 0.0, 1.0);
    texUv = uv;
}
)";

constexpr std::string_view kTexFragment = R"(
uniform sampler2D image;
in vec2 texUv;
out vec4 pixel;
void main() { pixel = texture(image, texUv); }
)";

// Rows 2r and 2r + 1 of `columns` are the minima and maxima of `columnsPerRow` columns from r * columnsPerRow on: more
// than one pair of rows only where a texture cannot be wide enough.
constexpr std::string_view kWaveVertex = R"(
layout(std140) uniform VertexBytes {
    vec2 viewportSize;
    float columnStride;
    float fractionPoints;
    float midY;
    float amplitudeScale;
    uint columnCount;
    uint useGradient;
    vec2 gradStart;
    vec2 gradEnd;
    vec4 gradColor0;
    vec4 gradColor1;
    vec4 flatColor;
} wave;
uniform sampler2D columns;
uniform int columnsPerRow;
out vec2 posPoints;
out float valid;

vec2 pointsToNDC(vec2 p, vec2 viewport) {
    return vec2(p.x / viewport.x * 2.0 - 1.0, 1.0 - p.y / viewport.y * 2.0);
}

void main() {
    int column = gl_VertexID / 2;
    ivec2 minimumAt = ivec2(column % columnsPerRow, column / columnsPerRow * 2);
    float minimum = texelFetch(columns, minimumAt, 0).r;
    float maximum = texelFetch(columns, minimumAt + ivec2(0, 1), 0).r;
    float amplitude = gl_VertexID % 2 == 0 ? maximum : minimum;
    float x = float(column) * wave.columnStride + 0.5 - wave.fractionPoints * wave.columnStride;
    bool gap = isnan(minimum) || isnan(maximum) || uint(column) >= wave.columnCount;
    posPoints = vec2(x, gap ? wave.midY : wave.midY - amplitude * wave.amplitudeScale);
    valid = gap ? 0.0 : 1.0;
    gl_Position = vec4(pointsToNDC(posPoints, wave.viewportSize), 0.0, 1.0);
}
)";

constexpr std::string_view kWaveFragment = R"(
layout(std140) uniform FragmentBytes {
    vec2 viewportSize;
    float columnStride;
    float fractionPoints;
    float midY;
    float amplitudeScale;
    uint columnCount;
    uint useGradient;
    vec2 gradStart;
    vec2 gradEnd;
    vec4 gradColor0;
    vec4 gradColor1;
    vec4 flatColor;
} wave;
in vec2 posPoints;
in float valid;
out vec4 pixel;

void main() {
    if (valid < 0.5) discard;
    vec2 d = wave.gradEnd - wave.gradStart;
    float t = clamp(dot(posPoints - wave.gradStart, d) / max(dot(d, d), 1e-6), 0.0, 1.0);
    pixel = wave.useGradient == 0u ? wave.flatColor : mix(wave.gradColor0, wave.gradColor1, t);
}
)";

constexpr std::array<ShaderText, 8> kTexts{{
    {coloredVertex, ShaderInput::coloredVertices, kColoredVertex},
    {coloredFragment, ShaderInput::fragment, kColoredFragment},
    {rampVertex, ShaderInput::rampVertices, kRampVertex},
    {rampFragment, ShaderInput::fragment, kRampFragment},
    {texVertex, ShaderInput::texVertices, kTexVertex},
    {texFragment, ShaderInput::fragment, kTexFragment},
    {waveVertex, ShaderInput::columns, kWaveVertex},
    {waveFragment, ShaderInput::fragment, kWaveFragment},
}};

} // namespace

std::span<const ShaderText> shaderTexts() {
    return kTexts;
}

std::string_view shaderHeader(bool isES) {
    return isES ? "#version 300 es\nprecision highp float;\nprecision highp int;\nprecision highp sampler2D;\n"
                : "#version 330 core\n";
}

} // namespace rewindle
