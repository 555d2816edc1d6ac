// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "core_media/cv_pixel_buffer.h"
#include "foundation/geometry.h"

namespace zelvane {

/// Draws pictures on the GPU through libplacebo. All calls, including the destructor, need the
/// OpenGL context of create() current, on its thread.
class PlaceboRenderer {
  public:
    enum class SoftwareGL { refused, allowed };

    /// A framebuffer and the picture's place on it.
    struct Target {
        /// Its OpenGL name.
        unsigned framebuffer = 0;
        int width = 0;
        int height = 0;
        /// Row 0 is the lowest one, as in the framebuffer of a window.
        bool isBottomUp = true;
        /// The picture's place in pixels from the top left; the rest is black.
        CGRect picture;
        /// The picture is mirrored left to right first, then turned clockwise.
        int quarterTurns = 0;
        bool isMirrored = false;
    };

    /// Null when the current context is too old, or a software renderer where that is refused.
    static std::unique_ptr<PlaceboRenderer> create(SoftwareGL softwareGL);
    ~PlaceboRenderer();
    PlaceboRenderer(const PlaceboRenderer&) = delete;
    PlaceboRenderer& operator=(const PlaceboRenderer&) = delete;

    /// The ICC profile of the screen; an empty or unusable one means sRGB.
    void setDisplayProfile(std::vector<std::uint8_t> iccProfile);

    /// Draws the picture, and black around it. Drawing the same buffer again uploads nothing. For a
    /// picture that cannot be shown, and once the GPU has failed, it draws black and returns false.
    bool draw(const CVPixelBufferRef& picture, const Target& target);
    /// Whether draw() uses a VAAPI decoder's pictures without a copy. It downloads all other
    /// pictures on a device, which is better done on another thread. Becomes false when the driver
    /// refuses a picture.
    bool importsPictures() const;
    /// Draws black.
    void clear(const Target& target);

  private:
    class Graphics;
    explicit PlaceboRenderer(std::unique_ptr<Graphics> graphics);
    std::unique_ptr<Graphics> graphics_;
};

} // namespace zelvane
