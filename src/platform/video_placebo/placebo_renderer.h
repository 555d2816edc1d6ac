// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "core_media/cv_pixel_buffer.h"
#include "foundation/geometry.h"

namespace zelvane {

/// Draws pictures with the graphics processor through libplacebo. Every call, the destructor among
/// them, needs the OpenGL context current in which it was made, on its thread.
class PlaceboRenderer {
  public:
    enum class SoftwareGL { refused, allowed };

    /// A framebuffer and how the picture lies on it.
    struct Target {
        /// The context's name of it.
        unsigned framebuffer = 0;
        int width = 0;
        int height = 0;
        /// Row 0 is the lowest one, as in a window's own framebuffer.
        bool isBottomUp = true;
        /// Where the picture goes, in pixels from the top left; black around it.
        CGRect picture;
        /// The picture is mirrored left to right first, then turned clockwise.
        int quarterTurns = 0;
        bool isMirrored = false;
    };

    /// Null when the current context is too old, or drawn by software where that is refused.
    static std::unique_ptr<PlaceboRenderer> create(SoftwareGL softwareGL);
    ~PlaceboRenderer();
    PlaceboRenderer(const PlaceboRenderer&) = delete;
    PlaceboRenderer& operator=(const PlaceboRenderer&) = delete;

    /// The ICC profile of the screen; none, or one that cannot be used, means sRGB.
    void setDisplayProfile(std::vector<std::uint8_t> iccProfile);

    /// Draws the picture, and black around it. Its samples are taken over once: drawing the same
    /// buffer again copies nothing. False, with black drawn, for a picture that cannot be shown.
    bool draw(const CVPixelBufferRef& picture, const Target& target);
    /// Draws black.
    void clear(const Target& target);

  private:
    class Graphics;
    explicit PlaceboRenderer(std::unique_ptr<Graphics> graphics);
    std::unique_ptr<Graphics> graphics_;
};

} // namespace zelvane
