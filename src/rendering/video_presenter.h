// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

#include "core_media/cv_pixel_buffer.h"
#include "foundation/geometry.h"
#include "foundation/host_clock.h"

namespace zelvane {

/// A picture and its place on the surface.
struct PresentedFrame {
    CVPixelBufferRef pixelBuffer;
    /// The picture in square pixels at the origin, before its transform.
    CGRect bounds;
    /// Rotation and mirroring.
    CGAffineTransform transform;
};

/// Draws one frame at a time on one surface, as large as the picture's shape allows, with black
/// around it. Called on the thread of the display layer; a presenter passes the work on to the
/// thread of its surface, and does nothing after the surface is gone.
class VideoPresenter {
  public:
    /// Called once, on any thread, when the frame was passed to the screen.
    using ShownHandler = std::function<void(HostTime shownAt)>;

    virtual ~VideoPresenter() = default;

    /// A hint that this frame is the next one: slow work (conversion, upload) can be done now.
    virtual void prepare(const PresentedFrame& frame) = 0;
    /// Replaces the picture on the surface. `shown` is not called when a newer picture replaces
    /// this one before it was drawn.
    virtual void present(const PresentedFrame& frame, ShownHandler shown) = 0;
    /// Makes the surface black.
    virtual void removeImage() = 0;
    /// The current delay from present() to the screen.
    virtual HostDuration presentationDelay() const = 0;
};

} // namespace zelvane
