// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "core_media/cm_sample_buffer.h"
#include "media_player/decoders/subtitles/subtitles_frame.h"

namespace zelvane {

/// Whether a buffer that a seek to `target` has decoded shall be rendered: it holds the target, or
/// begins after it. A buffer that ends before it begins stops the process.
bool isRelevantForSeeking(const CMSampleBuffer& sampleBuffer, const CMTime& target);

/// Whether `time` is so close to the end of a buffer that holds it that the next one may begin
/// there already: stamps are rounded to a millisecond in many files, durations are not.
bool mayEndAt(const CMSampleBuffer& sampleBuffer, const CMTime& time);

using SubtitlesFrames = std::vector<SubtitlesFrameRef>;

/// The frame, of those that a seek to `target` has decoded, from which on they shall be shown: the
/// latest in the list that holds the target, else the first that begins after it, else the end. A
/// frame that ends before it begins stops the process.
SubtitlesFrames::const_iterator firstRelevantFrame(const SubtitlesFrames& frames,
                                                   const CMTime& target);

} // namespace zelvane
