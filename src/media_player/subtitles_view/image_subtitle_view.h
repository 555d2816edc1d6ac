// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include <QImage>
#include <QRect>

#include "media_player/decoders/subtitles/subtitles_frame.h"
#include "media_player/subtitles_view/image_subtitle_layout.h"
#include "media_player/subtitles_view/subtitle_view.h"

namespace zelvane {

/// Shows one subtitle picture at its place: as it was authored in the primary position, on the
/// other side of the picture in the secondary one. Main thread.
class ImageSubtitleView final : public SubtitleView {
  public:
    /// `videoDimensions` are of the picture underneath, and count where the subtitle doesn't name
    /// the picture that it was made for.
    ImageSubtitleView(ImageSubtitle subtitle, bool isPrimarySubtitle,
                      const std::optional<VideoDimensions>& videoDimensions);

    void setSize(const QSizeF& size, qreal devicePixelRatio) override;
    QRectF paintedRect() const override;
    void paint(QPainter& painter) const override;

  private:
    const CVPixelBufferRef image_;
    const ImageSubtitlePlacement placement_;
    qreal devicePixelRatio_ = 1;
    /// What of the picture can be seen, ready to be copied to this place in device pixels. No
    /// larger than the view.
    QImage raster_;
    QRect rasterPlace_;
};

} // namespace zelvane
