// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/seek_relevance.h"

#include <algorithm>

#include "foundation/log.h"

namespace zelvane {
namespace {

bool holds(const SubtitlesFrame& frame, const CMTime& time) {
    if (frame.endTime < frame.startTime) {
        fatalError("A subtitles frame ends before it starts.");
    }
    return frame.startTime <= time && time < frame.endTime;
}

} // namespace

bool isRelevantForSeeking(const CMSampleBuffer& sampleBuffer, const CMTime& target) {
    const CMTime start = sampleBuffer.presentationTimeStamp();
    const CMTime end = start + sampleBuffer.duration();
    if (end.isValid()) {
        if (start > end) {
            fatalError("A sample buffer ends before it starts.");
        }
        if (start <= target && target < end) {
            return true;
        }
    }
    return start > target;
}

bool mayEndAt(const CMSampleBuffer& sampleBuffer, const CMTime& time) {
    constexpr CMTime kRounding(1, 1000);
    const CMTime start = sampleBuffer.presentationTimeStamp();
    const CMTime end = start + sampleBuffer.duration();
    return end.isNumeric() && start + kRounding < time && time < end && end - time <= kRounding;
}

SubtitlesFrames::const_iterator firstRelevantFrame(const SubtitlesFrames& frames,
                                                   const CMTime& target) {
    const auto latest = std::find_if(frames.rbegin(), frames.rend(),
                                     [&](const auto& frame) { return holds(*frame, target); });
    if (latest != frames.rend()) {
        return std::prev(latest.base());
    }
    return std::find_if(frames.begin(), frames.end(),
                        [&](const auto& frame) { return frame->startTime > target; });
}

} // namespace zelvane
