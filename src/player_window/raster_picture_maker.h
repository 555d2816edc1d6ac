// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <mutex>
#include <optional>

#include <QImage>

#include "platform/video_raster/raster_converter.h"
#include "rendering/video_presenter.h"

namespace zelvane {

/// Converts frames to images for a painter. The memory of released images, on any thread, is reused
/// for later frames.
class RasterPictureMaker {
  public:
    explicit RasterPictureMaker(DisplayColor display = {});

    /// For the frames from now on. Any thread.
    void setDisplay(DisplayColor display);
    /// One thread at a time. The frame at its coded size, without its transform; null, with a line
    /// in the log, when it cannot be converted.
    std::shared_ptr<const QImage> make(const PresentedFrame& frame);

  private:
    class Images;

    RasterConverter& converter();

    std::mutex displayMutex_;
    std::optional<DisplayColor> newDisplay_;
    std::optional<RasterConverter> converter_;
    std::shared_ptr<Images> images_;
    bool didLogFailure_ = false;
};

} // namespace zelvane
