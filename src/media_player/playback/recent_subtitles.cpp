// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/recent_subtitles.h"

#include <algorithm>
#include <numeric>

namespace zelvane {
namespace {

std::size_t bytesOf(const SubtitlesFrameRef& frame) {
    const auto* pictures = std::get_if<std::vector<ImageSubtitle>>(&frame->subtitles);
    return pictures == nullptr
               ? 0
               : std::accumulate(pictures->begin(), pictures->end(), std::size_t{0},
                                 [](std::size_t bytes, const ImageSubtitle& picture) {
                                     return bytes + picture.image->dataSize();
                                 });
}

} // namespace

void RecentSubtitles::add(const SubtitlesFrames& frames) {
    for (const SubtitlesFrameRef& frame : frames) {
        frames_.push_back(frame);
        bytes_ += bytesOf(frame);
    }
}

void RecentSubtitles::keepFrom(const CMTime& earliest) {
    // A seek shows the last of the list that holds its target, and what follows it in the list.
    // What ends no later than such a frame is therefore shown by no seek.
    CMTime end = earliest;
    SubtitlesFrames kept;
    for (auto frame = frames_.rbegin(); frame != frames_.rend(); ++frame) {
        if ((*frame)->endTime > end) {
            kept.push_back(*frame);
            end = (*frame)->startTime <= earliest ? (*frame)->endTime : end;
        }
    }
    std::reverse(kept.begin(), kept.end());
    clear();
    add(kept);
}

void RecentSubtitles::clear() {
    frames_.clear();
    bytes_ = 0;
}

SubtitlesFrames RecentSubtitles::shownFrom(const CMTime& target) const {
    return {firstRelevantFrame(frames_, target), frames_.end()};
}

} // namespace zelvane
