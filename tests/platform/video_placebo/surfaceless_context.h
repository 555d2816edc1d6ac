// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#define GL_GLEXT_PROTOTYPES
#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GL/gl.h>
#include <GL/glext.h>

namespace zelvane::test {

/// An OpenGL context of a software renderer without a window system, with one framebuffer. Current
/// on the thread that makes it until it is destroyed.
class SurfacelessContext {
  public:
    SurfacelessContext(int width, int height) : width_(width), height_(height) {
        display_ = eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, nullptr, nullptr);
        if (eglInitialize(display_, nullptr, nullptr) == EGL_FALSE ||
            eglBindAPI(EGL_OPENGL_API) == EGL_FALSE) {
            return;
        }
        const std::array<EGLint, 7> attributes{EGL_CONTEXT_MAJOR_VERSION,
                                               3,
                                               EGL_CONTEXT_MINOR_VERSION,
                                               3,
                                               EGL_CONTEXT_OPENGL_PROFILE_MASK,
                                               EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT,
                                               EGL_NONE};
        context_ = eglCreateContext(display_, EGL_NO_CONFIG_KHR, EGL_NO_CONTEXT, attributes.data());
        if (eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, context_) == EGL_TRUE) {
            makeFramebuffer();
        }
    }
    ~SurfacelessContext() {
        eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        eglDestroyContext(display_, context_);
        eglTerminate(display_);
    }
    SurfacelessContext(const SurfacelessContext&) = delete;
    SurfacelessContext& operator=(const SurfacelessContext&) = delete;

    /// 0 when there is no usable OpenGL here.
    unsigned framebuffer() const { return framebuffer_; }

    /// R, G, B, A of each pixel, from the framebuffer's first row on.
    std::vector<std::uint8_t> pixels() const {
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(width_) * height_ * 4);
        glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer_);
        glReadPixels(0, 0, width_, height_, GL_RGBA, GL_UNSIGNED_BYTE, bytes.data());
        return bytes;
    }

  private:
    void makeFramebuffer() {
        unsigned texture = 0;
        glGenTextures(1, &texture);
        glBindTexture(GL_TEXTURE_2D, texture);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, width_, height_, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                     nullptr);
        glGenFramebuffers(1, &framebuffer_);
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    }

    int width_;
    int height_;
    EGLDisplay display_ = EGL_NO_DISPLAY;
    EGLContext context_ = EGL_NO_CONTEXT;
    unsigned framebuffer_ = 0;
};

} // namespace zelvane::test
