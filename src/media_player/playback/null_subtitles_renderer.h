// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "media_player/playback/subtitles_renderer.h"

namespace zelvane {

/// Shows nothing.
class NullSubtitlesRenderer final : public SubtitlesRenderer {
  public:
    void addSubtitlesFrame(SubtitlesFrameRef /*frame*/) override {}
    void removeAllSubtitles() override {}
    void setVideoDimensions(const VideoDimensions& /*dimensions*/) override {}
};

} // namespace zelvane
