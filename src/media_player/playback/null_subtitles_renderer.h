// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "media_player/playback/subtitles_renderer.h"

namespace zelvane {

/// Shows nothing, and counts as full, so that no side file is read for it.
class NullSubtitlesRenderer final : public SubtitlesRenderer {
  public:
    NullSubtitlesRenderer() { mediaDataRequester()->setBufferCount(kHighWaterMark); }
    void addSubtitlesFrame(SubtitlesFrameRef /*frame*/) override {}
    void removeAllSubtitles() override {}
    void setVideoDimensions(const VideoDimensions& /*dimensions*/) override {}
};

} // namespace zelvane
