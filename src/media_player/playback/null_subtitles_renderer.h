// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "media_player/playback/subtitles_renderer.h"

namespace zelvane {

/// Shows nothing, and is full for ever, so that nobody reads for it.
class NullSubtitlesRenderer final : public SubtitlesRenderer {
  public:
    NullSubtitlesRenderer() { mediaDataRequester().setBufferCount(kHighWaterMark); }
    void addSubtitlesFrame(SubtitlesFrameRef /*frame*/) override {}
    void removeAllSubtitles() override {}
    void setVideoDimensions(const VideoDimensions& /*dimensions*/) override {}
};

} // namespace zelvane
