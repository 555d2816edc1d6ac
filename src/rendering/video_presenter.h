// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

#include "core_media/cv_pixel_buffer.h"
#include "foundation/geometry.h"
#include "foundation/host_clock.h"

namespace zelvane {

/// A picture and how it lies on the surface.
struct PresentedFrame {
    CVPixelBufferRef pixelBuffer;
    /// The picture in square pixels at the origin, before its transform.
    CGRect bounds;
    /// Rotation and mirroring.
    CGAffineTransform transform;
};

/// Draws one frame at a time on one surface, as large as the picture's shape allows, black around
/// it. Called by the display layer that owns the schedule, on the layer's own thread; a presenter
/// moves the work to its surface's thread itself, and stays silent once its surface has gone.
class VideoPresenter {
  public:
    /// Told once, on any thread, when the frame has been handed to the screen.
    using ShownHandler = std::function<void(HostTime shownAt)>;

    virtual ~VideoPresenter() = default;

    /// A hint that this frame comes next: whatever is slow (conversion, upload) is better done now.
    virtual void prepare(const PresentedFrame& frame) = 0;
    /// Replaces the picture on the surface. `shown` is dropped unheard when a newer picture
    /// replaces this one before it was drawn.
    virtual void present(const PresentedFrame& frame, ShownHandler shown) = 0;
    /// Black.
    virtual void removeImage() = 0;
    /// How long it takes, at present, from present() to the screen.
    virtual HostDuration presentationDelay() const = 0;
};

} // namespace zelvane
