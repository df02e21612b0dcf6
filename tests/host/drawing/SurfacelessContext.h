#pragma once

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <array>
#include <cstdint>

namespace rewindle::test {

enum class GlApi : std::uint8_t { core33, es30 };

/// A current context that needs no display. Not ok() where EGL has no surfaceless platform.
class SurfacelessContext {
public:
    explicit SurfacelessContext(GlApi api) {
        display_ = eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
        if (eglInitialize(display_, nullptr, nullptr) == EGL_FALSE) return;
        eglBindAPI(api == GlApi::core33 ? EGL_OPENGL_API : EGL_OPENGL_ES_API);
        const EGLint minor = api == GlApi::core33 ? 3 : 0;
        const std::array<EGLint, 5> attributes{EGL_CONTEXT_MAJOR_VERSION, 3, EGL_CONTEXT_MINOR_VERSION, minor,
                                               EGL_NONE};
        context_ = eglCreateContext(display_, EGL_NO_CONFIG_KHR, EGL_NO_CONTEXT, attributes.data());
        ok_ = context_ != EGL_NO_CONTEXT &&
              eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, context_) == EGL_TRUE;
    }
    ~SurfacelessContext() {
        eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        if (context_ != EGL_NO_CONTEXT) eglDestroyContext(display_, context_);
    }
    SurfacelessContext(const SurfacelessContext&) = delete;

    [[nodiscard]] bool ok() const { return ok_; }

private:
    EGLDisplay display_ = EGL_NO_DISPLAY;
    EGLContext context_ = EGL_NO_CONTEXT;
    bool ok_ = false;
};

} // namespace rewindle::test
