// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "media_player/decoders/subtitles/subtitles_frame.h"
#include "subtitles_view/subtitle_view.h"
#include "subtitles_view/text_block.h"
#include "subtitles_view/text_subtitle_layout.h"
#include "subtitles_view/text_subtitle_raster.h"

namespace zelvane {

/// Shows one text subtitle: at the bottom of the picture for the primary track, at the top for the
/// other, whatever its style says. Main thread.
class FormattedTextSubtitleView final : public SubtitleView {
  public:
    FormattedTextSubtitleView(FormattedTextSubtitle subtitle, bool isPrimarySubtitle);

    void setSize(const QSizeF& size, qreal devicePixelRatio) override;
    QRectF paintedRect() const override;
    void paint(QPainter& painter) const override;

  private:
    TextSubtitleRaster drawn() const;
    TextSubtitlePlace placeOf(const TextBlock& block, const TextSubtitleSpace& space,
                              const TextBlockLimits& limits) const;

    const FormattedTextSubtitle subtitle_;
    const bool isPrimarySubtitle_;
    QSizeF size_;
    qreal devicePixelRatio_ = 1;
    TextSubtitleRaster raster_;
};

} // namespace zelvane
