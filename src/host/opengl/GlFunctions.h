#pragma once

#include <GL/glcorearb.h>

#include <functional>
#include <optional>
#include <string>

namespace rewindle {

using GlProcedure = void (*)();
/// Finds a function of the current context by name, as eglGetProcAddress does.
using GlLoader = std::function<GlProcedure(const char* name)>;

// What is used of OpenGL 3.3 core and OpenGL ES 3.0: type, member, name.
#define REWINDLE_GL_FUNCTIONS(X)                                                                                     \
    X(PFNGLACTIVETEXTUREPROC, activeTexture, "glActiveTexture")                                                      \
    X(PFNGLATTACHSHADERPROC, attachShader, "glAttachShader")                                                         \
    X(PFNGLBINDBUFFERPROC, bindBuffer, "glBindBuffer")                                                               \
    X(PFNGLBINDBUFFERBASEPROC, bindBufferBase, "glBindBufferBase")                                                   \
    X(PFNGLBINDFRAMEBUFFERPROC, bindFramebuffer, "glBindFramebuffer")                                                \
    X(PFNGLBINDRENDERBUFFERPROC, bindRenderbuffer, "glBindRenderbuffer")                                             \
    X(PFNGLBINDSAMPLERPROC, bindSampler, "glBindSampler")                                                            \
    X(PFNGLBINDTEXTUREPROC, bindTexture, "glBindTexture")                                                            \
    X(PFNGLBINDVERTEXARRAYPROC, bindVertexArray, "glBindVertexArray")                                                \
    X(PFNGLBLENDEQUATIONSEPARATEPROC, blendEquationSeparate, "glBlendEquationSeparate")                              \
    X(PFNGLBLENDFUNCSEPARATEPROC, blendFuncSeparate, "glBlendFuncSeparate")                                          \
    X(PFNGLBLITFRAMEBUFFERPROC, blitFramebuffer, "glBlitFramebuffer")                                                \
    X(PFNGLBUFFERDATAPROC, bufferData, "glBufferData")                                                               \
    X(PFNGLCHECKFRAMEBUFFERSTATUSPROC, checkFramebufferStatus, "glCheckFramebufferStatus")                           \
    X(PFNGLCLEARPROC, clear, "glClear")                                                                              \
    X(PFNGLCLEARCOLORPROC, clearColor, "glClearColor")                                                               \
    X(PFNGLCLIENTWAITSYNCPROC, clientWaitSync, "glClientWaitSync")                                                   \
    X(PFNGLCOLORMASKPROC, colorMask, "glColorMask")                                                                  \
    X(PFNGLCOMPILESHADERPROC, compileShader, "glCompileShader")                                                      \
    X(PFNGLCREATEPROGRAMPROC, createProgram, "glCreateProgram")                                                      \
    X(PFNGLCREATESHADERPROC, createShader, "glCreateShader")                                                         \
    X(PFNGLDELETEBUFFERSPROC, deleteBuffers, "glDeleteBuffers")                                                      \
    X(PFNGLDELETEFRAMEBUFFERSPROC, deleteFramebuffers, "glDeleteFramebuffers")                                       \
    X(PFNGLDELETEPROGRAMPROC, deleteProgram, "glDeleteProgram")                                                      \
    X(PFNGLDELETERENDERBUFFERSPROC, deleteRenderbuffers, "glDeleteRenderbuffers")                                    \
    X(PFNGLDELETESAMPLERSPROC, deleteSamplers, "glDeleteSamplers")                                                   \
    X(PFNGLDELETESHADERPROC, deleteShader, "glDeleteShader")                                                         \
    X(PFNGLDELETESYNCPROC, deleteSync, "glDeleteSync")                                                               \
    X(PFNGLDELETETEXTURESPROC, deleteTextures, "glDeleteTextures")                                                   \
    X(PFNGLDELETEVERTEXARRAYSPROC, deleteVertexArrays, "glDeleteVertexArrays")                                       \
    X(PFNGLDISABLEPROC, disable, "glDisable")                                                                        \
    X(PFNGLDRAWARRAYSPROC, drawArrays, "glDrawArrays")                                                               \
    X(PFNGLENABLEPROC, enable, "glEnable")                                                                           \
    X(PFNGLENABLEVERTEXATTRIBARRAYPROC, enableVertexAttribArray, "glEnableVertexAttribArray")                        \
    X(PFNGLFENCESYNCPROC, fenceSync, "glFenceSync")                                                                  \
    X(PFNGLFLUSHPROC, flush, "glFlush")                                                                              \
    X(PFNGLFRAMEBUFFERRENDERBUFFERPROC, framebufferRenderbuffer, "glFramebufferRenderbuffer")                        \
    X(PFNGLFRAMEBUFFERTEXTURE2DPROC, framebufferTexture2D, "glFramebufferTexture2D")                                 \
    X(PFNGLGENBUFFERSPROC, genBuffers, "glGenBuffers")                                                               \
    X(PFNGLGENFRAMEBUFFERSPROC, genFramebuffers, "glGenFramebuffers")                                                \
    X(PFNGLGENRENDERBUFFERSPROC, genRenderbuffers, "glGenRenderbuffers")                                             \
    X(PFNGLGENSAMPLERSPROC, genSamplers, "glGenSamplers")                                                            \
    X(PFNGLGENTEXTURESPROC, genTextures, "glGenTextures")                                                            \
    X(PFNGLGENVERTEXARRAYSPROC, genVertexArrays, "glGenVertexArrays")                                                \
    X(PFNGLGETERRORPROC, getError, "glGetError")                                                                     \
    X(PFNGLGETINTEGERVPROC, getIntegerv, "glGetIntegerv")                                                            \
    X(PFNGLGETPROGRAMIVPROC, getProgramiv, "glGetProgramiv")                                                         \
    X(PFNGLGETSHADERINFOLOGPROC, getShaderInfoLog, "glGetShaderInfoLog")                                             \
    X(PFNGLGETSHADERIVPROC, getShaderiv, "glGetShaderiv")                                                            \
    X(PFNGLGETSTRINGPROC, getString, "glGetString")                                                                  \
    X(PFNGLGETUNIFORMBLOCKINDEXPROC, getUniformBlockIndex, "glGetUniformBlockIndex")                                 \
    X(PFNGLGETUNIFORMLOCATIONPROC, getUniformLocation, "glGetUniformLocation")                                       \
    X(PFNGLLINKPROGRAMPROC, linkProgram, "glLinkProgram")                                                            \
    X(PFNGLMAPBUFFERRANGEPROC, mapBufferRange, "glMapBufferRange")                                                   \
    X(PFNGLPIXELSTOREIPROC, pixelStorei, "glPixelStorei")                                                            \
    X(PFNGLREADPIXELSPROC, readPixels, "glReadPixels")                                                               \
    X(PFNGLRENDERBUFFERSTORAGEMULTISAMPLEPROC, renderbufferStorageMultisample, "glRenderbufferStorageMultisample")   \
    X(PFNGLSAMPLERPARAMETERIPROC, samplerParameteri, "glSamplerParameteri")                                          \
    X(PFNGLSHADERSOURCEPROC, shaderSource, "glShaderSource")                                                         \
    X(PFNGLTEXIMAGE2DPROC, texImage2D, "glTexImage2D")                                                               \
    X(PFNGLTEXPARAMETERIPROC, texParameteri, "glTexParameteri")                                                      \
    X(PFNGLTEXSUBIMAGE2DPROC, texSubImage2D, "glTexSubImage2D")                                                      \
    X(PFNGLUNIFORM1IPROC, uniform1i, "glUniform1i")                                                                  \
    X(PFNGLUNIFORMBLOCKBINDINGPROC, uniformBlockBinding, "glUniformBlockBinding")                                    \
    X(PFNGLUNMAPBUFFERPROC, unmapBuffer, "glUnmapBuffer")                                                            \
    X(PFNGLUSEPROGRAMPROC, useProgram, "glUseProgram")                                                               \
    X(PFNGLVERTEXATTRIBPOINTERPROC, vertexAttribPointer, "glVertexAttribPointer")                                    \
    X(PFNGLVIEWPORTPROC, viewport, "glViewport")

/// The functions of a context, and what kind of context it is.
///
/// Threads: interface thread, while that context or one that shares its objects is current.
struct GlFunctions {
#define REWINDLE_DECLARE(type, member, name) type member = nullptr;
    REWINDLE_GL_FUNCTIONS(REWINDLE_DECLARE)
#undef REWINDLE_DECLARE

    bool isES = false;
    int maxTextureSize = 0;
    int maxSamples = 0;
    std::string rendererName; // of the driver, for people
};

/// None when the current context is neither OpenGL 3.3 or later nor OpenGL ES 3.0 or later.
[[nodiscard]] std::optional<GlFunctions> loadGlFunctions(const GlLoader& loader);

/// What is wrong since the last call; GL_NO_ERROR if nothing.
[[nodiscard]] GLenum takeGlError(const GlFunctions& gl);

} // namespace rewindle
