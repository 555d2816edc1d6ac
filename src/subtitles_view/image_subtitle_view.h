// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include <QImage>
#include <QRect>

#include "media_player/decoders/subtitles/subtitles_frame.h"
#include "subtitles_view/image_subtitle_layout.h"
#include "subtitles_view/subtitle_view.h"

namespace zelvane {

/// Shows one subtitle picture: as it was authored in the primary position, mirrored in the
/// secondary one. Main thread.
class ImageSubtitleView final : public SubtitleView {
  public:
    /// `videoDimensions` are those of the video picture, used if the subtitle does not state the
    /// picture that it was made for.
    ImageSubtitleView(ImageSubtitle subtitle, bool isPrimarySubtitle,
                      const std::optional<VideoDimensions>& videoDimensions);

    void setSize(const QSizeF& size, qreal devicePixelRatio) override;
    QRectF paintedRect() const override;
    void paint(QPainter& painter) const override;

  private:
    const CVPixelBufferRef image_;
    const ImageSubtitlePlacement placement_;
    qreal devicePixelRatio_ = 1;
    /// The visible part of the picture, ready to be copied to this place in device pixels. No
    /// larger than the view.
    QImage raster_;
    QRect rasterPlace_;
};

} // namespace zelvane
