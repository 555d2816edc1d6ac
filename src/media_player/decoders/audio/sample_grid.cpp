// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/audio/sample_grid.h"

#include <cmath>
#include <cstdlib>

#include "core_media/ffmpeg_time.h"

namespace zelvane {

namespace {

/// Frames of Opus have any length, in steps of 2.5 ms (RFC 6716).
int frameSizeOf(const AVCodecParameters& parameters) {
    return parameters.codec_id == AV_CODEC_ID_OPUS ? parameters.sample_rate / 400
                                                   : parameters.frame_size;
}

} // namespace

SampleGrid::SampleGrid(const AVStream& stream)
    : timeBase_(stream.time_base), sampleRate_(stream.codecpar->sample_rate),
      frameSize_(frameSizeOf(*stream.codecpar)), padding_(stream.codecpar->initial_padding) {
    if (stream.start_time != AV_NOPTS_VALUE && sampleRate_ > 0 && padding_ >= 0 &&
        timeBase_.num > 0 && timeBase_.den > 0) {
        start_ = stream.start_time;
    }
}

std::optional<CMTime> SampleGrid::timeOf(std::int64_t stamp, int sampleCount) const {
    const int frameSize = frameSize_ > 0 ? frameSize_ : sampleCount;
    if (!start_ || frameSize <= 0) {
        return std::nullopt;
    }
    const AVRational samples{1, sampleRate_};
    // Content that begins at zero has exactly its padding before zero.
    const auto roundedPadding = av_rescale_q(-padding_, samples, timeBase_);
    const bool beginsAtZero = padding_ > 0 && std::llabs(roundedPadding - *start_) <= 1;
    const double begin = beginsAtZero ? -static_cast<double>(padding_) / sampleRate_
                                      : static_cast<double>(*start_) * av_q2d(timeBase_);
    // Use the end of the frame: the first frame may have lost its beginning.
    const double end = static_cast<double>(stamp) * av_q2d(timeBase_) +
                       static_cast<double>(sampleCount) / sampleRate_;
    const double frames = (end - begin) * sampleRate_ / frameSize;
    const auto index = static_cast<std::int64_t>(std::llround(frames));
    // Half a unit for rounding, and half a unit where the beginning was cut.
    constexpr double kRounding = 1.001;
    if (std::abs(frames - static_cast<double>(index)) * frameSize >
        kRounding * av_q2d(timeBase_) * sampleRate_) {
        return std::nullopt;
    }
    // The decoder drops whole frames, and cuts one frame by a rounded number of units.
    const int cut = padding_ % frameSize;
    const auto cutFrame = static_cast<std::int64_t>(std::llround(
        (begin + static_cast<double>(padding_ - cut) / sampleRate_) / av_q2d(timeBase_)));
    const auto first = timeFromStamp(cutFrame + av_rescale_q(cut, samples, timeBase_), timeBase_);
    return first ? std::optional(*first +
                                 CMTime(index * frameSize - sampleCount - padding_, sampleRate_))
                 : std::nullopt;
}

} // namespace zelvane
