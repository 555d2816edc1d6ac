// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>

#include "core_media/ffmpeg.h"
#include "foundation/cm_time.h"

namespace zelvane {

/// The times of a sound stream's frames, exact to the sample, when its stamps are rounded to
/// coarser units: in a decode from the start, frame k begins k frames' samples after the first. A
/// decoder that starts elsewhere finds its position by that, so that a seek ends on the same
/// samples as straight playback. Immutable.
class SampleGrid {
  public:
    /// Of a stream whose frames all have the same number of samples.
    explicit SampleGrid(const AVStream& stream);

    /// When a frame with that stamp and sample count begins. None where the stamp shows that there
    /// are gaps since the start, or that frames differ in size.
    std::optional<CMTime> timeOf(std::int64_t stamp, int sampleCount) const;

  private:
    AVRational timeBase_;
    int sampleRate_;
    int frameSize_;
    /// Samples that decoders drop at the start.
    int padding_;
    /// In units of stamps; none when the stream does not state it.
    std::optional<std::int64_t> start_;
};

} // namespace zelvane
