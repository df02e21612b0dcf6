#pragma once

#include <string_view>

namespace rewindle::ShaderFunctions {

// The entry points of the shader program. Positions leave every vertex function in normalised device coordinates and
// colours every fragment function premultiplied.

/// `ColoredVertex` as input 0; the colour as it is.
inline constexpr std::string_view coloredVertex = "colored_vertex";
inline constexpr std::string_view coloredFragment = "colored_fragment";
/// `RampVertex` as input 0; the texture's pixel at (t, 0.5), its red, green and blue times its alpha.
inline constexpr std::string_view rampVertex = "ramp_vertex";
inline constexpr std::string_view rampFragment = "ramp_fragment";
/// `TexVertex` as input 0; the texture's pixel as it is.
inline constexpr std::string_view texVertex = "tex_vertex";
inline constexpr std::string_view texFragment = "tex_fragment";
/// The envelope from the vertices' numbers alone: vertex 2c is the top of column c, 2c + 1 its bottom. Inputs 0 and 1
/// are the columns' minima and maxima as 32-bit floats, input 2 (and 0 of the fragment) is `WaveUniforms`.
inline constexpr std::string_view waveVertex = "wave_vertex";
inline constexpr std::string_view waveFragment = "wave_fragment";

} // namespace rewindle::ShaderFunctions
