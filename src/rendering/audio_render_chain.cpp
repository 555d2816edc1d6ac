// SPDX-License-Identifier: GPL-3.0-or-later
#include "rendering/audio_render_chain.h"

#include <algorithm>
#include <cmath>

#include "core_media/ffmpeg_error.h"
#include "foundation/log.h"

namespace zelvane {
namespace {

constexpr std::int64_t kFramesPerStep = 1024;

} // namespace

AudioRenderChain::AudioRenderChain(const AudioOutputFormat& format, const CMTime& time, double rate,
                                   AVAudioTimePitchAlgorithm algorithm)
    : format_(format), rate_(rate),
      keepsPitch_(algorithm == AVAudioTimePitchAlgorithm::AVAudioTimePitchAlgorithmSpectral),
      cursor_(time) {
    if (rate != 1 && keepsPitch_) {
        stretcher_ =
            std::make_unique<TimeStretcher>(format.sampleRate, format.channelCount(), rate);
    }
}

std::size_t AudioRenderChain::render(const Reader& reader, std::span<float> target,
                                     bool fillsSilence) {
    std::size_t made = take(target);
    while (made < target.size() && advance(reader, fillsSilence)) {
        made += take(target.subspan(made));
    }
    return made / static_cast<std::size_t>(format_.channelCount());
}

std::size_t AudioRenderChain::take(std::span<float> target) {
    const auto count = std::min(target.size(), ready_.size() - taken_);
    const auto from = ready_.begin() + static_cast<std::ptrdiff_t>(taken_);
    std::copy_n(from, count, target.begin());
    taken_ += count;
    if (taken_ == ready_.size()) {
        ready_.clear();
        taken_ = 0;
    }
    return count;
}

bool AudioRenderChain::advance(const Reader& reader, bool fillsSilence) {
    if (const auto chunk = reader(cursor_, kFramesPerStep)) {
        feed(*chunk);
        return true;
    }
    if (fillsSilence) {
        feedSilence();
    }
    return fillsSilence;
}

/// In the source's format, so that the filters first deliver the sound that they still hold.
void AudioRenderChain::feedSilence() {
    const double sourceRate =
        latest_ ? latest_->formatDescription()->audio()->streamDescription.mSampleRate
                : format_.sampleRate * rate_;
    cursor_.skip(kFramesPerStep, sourceRate);
    if (latest_) {
        feed({latest_, 0, kFramesPerStep, true});
    } else {
        appendSilence(kFramesPerStep / sourceRate);
    }
}

void AudioRenderChain::appendSilence(double seconds) {
    const auto frames = std::llround(seconds * format_.sampleRate / rate_);
    ready_.resize(ready_.size() + static_cast<std::size_t>(frames * format_.channelCount()));
}

void AudioRenderChain::feed(const AudioQueue::Chunk& chunk) {
    latest_ = chunk.buffer;
    if (prepareConverter(chunk.buffer->formatDescription())) {
        converter_->convert(chunk, converted_);
        feedConverted();
    } else {
        appendSilence(static_cast<double>(chunk.frameCount) / refused_->mSampleRate);
    }
}

void AudioRenderChain::feedConverted() {
    if (stretcher_) {
        stretcher_->process(converted_, ready_);
    } else {
        ready_.insert(ready_.end(), converted_.begin(), converted_.end());
    }
    converted_.clear();
}

bool AudioRenderChain::prepareConverter(const CMFormatDescriptionRef& description) {
    const auto& source = *description->audio();
    if (converter_ && converter_->accepts(source)) {
        return true;
    }
    if (converter_) {
        converter_->drain(converted_);
        feedConverted();
        converter_.reset();
    }
    if (refused_ != source.streamDescription) {
        makeConverter(source);
    }
    return converter_.has_value();
}

void AudioRenderChain::makeConverter(const CMFormatDescription::Audio& source) {
    try {
        converter_.emplace(source, format_, keepsPitch_ ? 1 : rate_);
    } catch (const FFmpegError& error) {
        refused_ = source.streamDescription;
        logMessage("Failed to convert audio for the output: {}.", errorDescriptionText(error));
    }
}

} // namespace zelvane
