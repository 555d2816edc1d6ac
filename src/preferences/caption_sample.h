// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include <QPixmap>
#include <QWidget>

#include "media_player/decoders/subtitles/subtitle_text_style.h"

namespace zelvane {

class FormattedTextSubtitleView;

/// The lower part of a picture with a subtitle, drawn as in a player window. Main thread.
class CaptionSample final : public QWidget {
    Q_OBJECT

  public:
    CaptionSample();
    ~CaptionSample() override;
    CaptionSample(const CaptionSample&) = delete;
    CaptionSample& operator=(const CaptionSample&) = delete;

    void setStyle(const SubtitleTextStyle& style);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QSizeF pictureSize() const;

    std::unique_ptr<FormattedTextSubtitleView> subtitle_;
    QPixmap background_;
};

} // namespace zelvane
