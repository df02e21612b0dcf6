#pragma once

#include "host/opengl/GlFunctions.h"
#include "host/opengl/ShaderSource.h"
#include "platform/GpuDevice.h"

#include <map>
#include <memory>
#include <string_view>

namespace rewindle {

/// Points at which uniform blocks are bound.
inline constexpr GLuint kVertexBytesBinding = 0;
inline constexpr GLuint kFragmentBytesBinding = 1;

/// The shader program, compiled.
class OpenGLLibrary final : public GpuLibrary {
public:
    /// The error's message is the compiler's.
    [[nodiscard]] static Result<std::unique_ptr<GpuLibrary>> compile(const GlFunctions& gl);
    explicit OpenGLLibrary(const GlFunctions& gl) : gl_(gl) {}
    ~OpenGLLibrary() override;
    OpenGLLibrary(const OpenGLLibrary&) = delete;

    struct Function {
        GLuint shader = 0;
        ShaderInput input = ShaderInput::fragment;
    };
    [[nodiscard]] bool hasFunction(std::string_view name) const override { return functions_.contains(name); }
    /// Requires: hasFunction(name).
    [[nodiscard]] const Function& function(std::string_view name) const { return functions_.find(name)->second; }

private:
    [[nodiscard]] Result<void> add(const ShaderText& text);

    const GlFunctions& gl_;
    std::map<std::string_view, Function> functions_;
};

/// A linked program and how to draw with it.
class OpenGLPipeline final : public GpuPipeline {
public:
    /// Null when the functions do not fit together.
    [[nodiscard]] static std::unique_ptr<OpenGLPipeline> link(const GlFunctions& gl, const OpenGLLibrary& library,
                                                              const GpuPipelineDescriptor& descriptor);
    ~OpenGLPipeline() override;
    OpenGLPipeline(const OpenGLPipeline&) = delete;

    /// Makes the program and its blending current.
    void use() const;
    [[nodiscard]] ShaderInput input() const { return input_; }
    /// Requires: in use, its input is `columns`.
    void setColumnsPerRow(int columns) const { gl_.uniform1i(columnsPerRow_, columns); }

private:
    OpenGLPipeline(const GlFunctions& gl, ShaderInput input, bool blending)
        : gl_(gl), input_(input), blending_(blending) {}
    void bindBlock(const char* name, GLuint binding) const;

    const GlFunctions& gl_;
    const ShaderInput input_;
    const bool blending_;
    GLuint program_ = 0;
    GLint columnsPerRow_ = -1;
};

} // namespace rewindle
