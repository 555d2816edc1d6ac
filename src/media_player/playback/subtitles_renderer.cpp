// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/subtitles_renderer.h"

namespace zelvane {

void SubtitlesRenderer::sendFrames(const std::shared_ptr<SubtitlesRenderer>& renderer,
                                   const std::vector<SubtitlesFrameRef>& frames) {
    for (const SubtitlesFrameRef& frame : frames) {
        renderer->mediaDataRequester_->willDeliver();
        dispatch::mainQueue()->async([weakRenderer = std::weak_ptr(renderer), frame] {
            if (const auto strongRenderer = weakRenderer.lock()) {
                strongRenderer->mediaDataRequester_->deliver(
                    [&] { strongRenderer->addSubtitlesFrame(frame); });
            }
        });
    }
}

} // namespace zelvane
