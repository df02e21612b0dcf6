#include "host/opengl/OpenGLPipelines.h"

#include <array>
#include <string>

namespace rewindle {
namespace {

std::string compilerMessage(const GlFunctions& gl, GLuint shader) {
    std::string message(1024, '\0');
    GLsizei length = 0;
    gl.getShaderInfoLog(shader, static_cast<GLsizei>(message.size()), &length, message.data());
    message.resize(static_cast<std::size_t>(length));
    while (message.ends_with('\n'))
        message.pop_back();
    return message;
}

} // namespace

Result<std::unique_ptr<GpuLibrary>> OpenGLLibrary::compile(const GlFunctions& gl) {
    auto library = std::make_unique<OpenGLLibrary>(gl);
    for (const ShaderText& text : shaderTexts()) {
        if (const auto added = library->add(text); !added) return added.error();
    }
    return {std::unique_ptr<GpuLibrary>(std::move(library))};
}

Result<void> OpenGLLibrary::add(const ShaderText& text) {
    const bool isFragment = text.input == ShaderInput::fragment;
    const GLuint shader = gl_.createShader(isFragment ? GL_FRAGMENT_SHADER : GL_VERTEX_SHADER);
    functions_.emplace(text.name, Function{shader, text.input});
    const std::string_view header = shaderHeader(gl_.isES);
    const std::array<const GLchar*, 2> parts{header.data(), text.body.data()};
    const std::array<GLint, 2> lengths{static_cast<GLint>(header.size()), static_cast<GLint>(text.body.size())};
    gl_.shaderSource(shader, 2, parts.data(), lengths.data());
    gl_.compileShader(shader);
    GLint compiled = GL_FALSE;
    gl_.getShaderiv(shader, GL_COMPILE_STATUS, &compiled);
    if (compiled == GL_FALSE) return Error{1, std::string(text.name) + ": " + compilerMessage(gl_, shader)};
    return {};
}

OpenGLLibrary::~OpenGLLibrary() {
    for (const auto& [name, function] : functions_)
        gl_.deleteShader(function.shader);
}

std::unique_ptr<OpenGLPipeline> OpenGLPipeline::link(const GlFunctions& gl, const OpenGLLibrary& library,
                                                     const GpuPipelineDescriptor& descriptor) {
    const auto& vertex = library.function(descriptor.vertexFunction);
    std::unique_ptr<OpenGLPipeline> made(new OpenGLPipeline(gl, vertex.input, descriptor.blending));
    const GLuint program = made->program_ = gl.createProgram();
    gl.attachShader(program, vertex.shader);
    gl.attachShader(program, library.function(descriptor.fragmentFunction).shader);
    gl.linkProgram(program);
    GLint linked = GL_FALSE;
    gl.getProgramiv(program, GL_LINK_STATUS, &linked);
    if (linked == GL_FALSE) return nullptr;
    made->bindBlock("VertexBytes", kVertexBytesBinding);
    made->bindBlock("FragmentBytes", kFragmentBytesBinding);
    made->columnsPerRow_ = gl.getUniformLocation(program, "columnsPerRow");
    return made; // samplers read texture unit 0, which is where they begin
}

OpenGLPipeline::~OpenGLPipeline() {
    gl_.deleteProgram(program_);
}

void OpenGLPipeline::bindBlock(const char* name, GLuint binding) const {
    const GLuint block = gl_.getUniformBlockIndex(program_, name);
    if (block != GL_INVALID_INDEX) gl_.uniformBlockBinding(program_, block, binding);
}

void OpenGLPipeline::use() const {
    gl_.useProgram(program_);
    if (!blending_) return gl_.disable(GL_BLEND);
    gl_.enable(GL_BLEND);
    gl_.blendEquationSeparate(GL_FUNC_ADD, GL_FUNC_ADD);
    gl_.blendFuncSeparate(GL_ONE, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
}

} // namespace rewindle
