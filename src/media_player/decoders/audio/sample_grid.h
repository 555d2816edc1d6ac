// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>

#include "core_media/ffmpeg.h"
#include "foundation/cm_time.h"

namespace zelvane {

/// Where the frames of a sound stream lie to the sample, when its stamps are rounded to coarser
/// units: decoded from the start, frame k begins k frames' samples behind the first. A decoder that
/// starts elsewhere finds its place by that, so that a seek ends on the very samples of straight
/// playback. Immutable.
class SampleGrid {
  public:
    /// Of a stream whose frames all have the same number of samples.
    explicit SampleGrid(const AVStream& stream);

    /// When a frame of so many samples with that stamp begins; none where the stamp says that the
    /// frames don't follow each other without gaps since the start, or that they differ in size.
    std::optional<CMTime> timeOf(std::int64_t stamp, int sampleCount) const;

  private:
    AVRational timeBase_;
    int sampleRate_;
    int frameSize_;
    /// Samples that decoders drop at the start.
    int padding_;
    /// In stamps; none when the stream doesn't say.
    std::optional<std::int64_t> start_;
};

} // namespace zelvane
