// SPDX-License-Identifier: GPL-3.0-or-later
#include "rendering/audio_queue.h"

#include <algorithm>
#include <cmath>

namespace zelvane {
namespace {

double sampleRate(const CMSampleBuffer& buffer) {
    return buffer.formatDescription()->audio()->streamDescription.mSampleRate;
}

/// Computed from the count of frames: stamped durations are rounded.
double seconds(const CMSampleBuffer& buffer, std::int64_t frames) {
    return static_cast<double>(frames) / sampleRate(buffer);
}

CMTime later(const CMTime& time, std::int64_t frames, double sampleRate) {
    const auto timescale = static_cast<std::int32_t>(sampleRate);
    if (static_cast<double>(timescale) == sampleRate) {
        return time + CMTime(frames, timescale);
    }
    return time + CMTime::fromSeconds(static_cast<double>(frames) / sampleRate, 1'000'000'000);
}

CMTime endOf(const CMSampleBuffer& buffer) {
    return later(buffer.presentationTimeStamp(), buffer.sampleCount(), sampleRate(buffer));
}

bool isPlayable(const CMSampleBuffer& buffer) {
    const auto* audio = buffer.formatDescription() ? buffer.formatDescription()->audio() : nullptr;
    return audio != nullptr && buffer.dataBuffer() != nullptr &&
           buffer.presentationTimeStamp().isNumeric() &&
           audio->streamDescription.mFormatID == kAudioFormatLinearPCM &&
           (audio->streamDescription.mFormatFlags & kAudioFormatFlagIsNonInterleaved) == 0;
}

bool startsBefore(const CMSampleBufferRef& left, const CMSampleBufferRef& right) {
    return left->presentationTimeStamp() < right->presentationTimeStamp();
}

} // namespace

CMTime AudioQueue::Cursor::time() const {
    return frames_ == 0 ? origin_ : later(origin_, frames_, sampleRate_);
}

void AudioQueue::Cursor::advance(std::int64_t frames, double sampleRate) {
    if (sampleRate != sampleRate_) {
        origin_ = time();
        frames_ = 0;
        sampleRate_ = sampleRate;
    }
    frames_ += frames;
}

void AudioQueue::Cursor::skip(std::int64_t frames, double sampleRate) {
    advance(frames, sampleRate);
    isInSilence_ = true;
}

bool AudioQueue::insert(CMSampleBufferRef buffer) {
    if (!buffer || !isPlayable(*buffer)) {
        return false;
    }
    const auto place = std::upper_bound(buffers_.begin(), buffers_.end(), buffer, startsBefore);
    buffers_.insert(place, std::move(buffer));
    return true;
}

void AudioQueue::releaseBefore(const CMTime& time) {
    std::erase_if(buffers_,
                  [&](const CMSampleBufferRef& buffer) { return endOf(*buffer) <= time; });
}

std::optional<AudioQueue::Chunk> AudioQueue::read(Cursor& cursor, std::int64_t maxFrames) const {
    while (true) {
        const auto buffer = cursor.buffer_;
        if (buffer && cursor.frame_ < buffer->sampleCount()) {
            const auto count = std::min(maxFrames, buffer->sampleCount() - cursor.frame_);
            const Chunk chunk{buffer, cursor.frame_, count, false};
            cursor.frame_ += count;
            cursor.advance(count, sampleRate(*buffer));
            return chunk;
        }
        const auto following = next(cursor);
        if (!following) {
            return std::nullopt;
        }
        if (auto gap = enter(cursor, following, maxFrames)) {
            return gap;
        }
    }
}

CMSampleBufferRef AudioQueue::next(const Cursor& cursor) const {
    const CMTime time = cursor.time();
    for (const auto& buffer : buffers_) {
        if (cursor.buffer_ ? startsBefore(cursor.buffer_, buffer) : endOf(*buffer) > time) {
            return buffer;
        }
    }
    return nullptr;
}

/// Moves the cursor into `buffer`, or returns the silence before it.
std::optional<AudioQueue::Chunk> AudioQueue::enter(Cursor& cursor, const CMSampleBufferRef& buffer,
                                                   std::int64_t maxFrames) {
    const double ahead = (buffer->presentationTimeStamp() - cursor.time()).seconds();
    const double tolerated = cursor.isInSilence_ ? 0 : kStampJitter;
    const auto frames = std::llround(std::abs(ahead) * sampleRate(*buffer));
    if (ahead > tolerated && frames > 0) {
        const auto count = std::min<std::int64_t>(maxFrames, frames);
        cursor.skip(count, sampleRate(*buffer));
        return Chunk{buffer, 0, count, true};
    }
    cursor.buffer_ = buffer;
    cursor.frame_ = ahead < -tolerated ? std::min<std::int64_t>(frames, buffer->sampleCount()) : 0;
    // A buffer that is wholly late does not change how exact the cursor is.
    cursor.isInSilence_ = cursor.isInSilence_ && cursor.frame_ == buffer->sampleCount();
    return std::nullopt;
}

bool AudioQueue::hasDataAfter(const CMTime& time) const {
    return std::any_of(buffers_.begin(), buffers_.end(),
                       [&](const CMSampleBufferRef& buffer) { return endOf(*buffer) > time; });
}

double AudioQueue::secondsAfter(const CMTime& time) const {
    double sum = 0;
    for (const auto& buffer : buffers_) {
        const double left = (endOf(*buffer) - time).seconds();
        sum += std::clamp(left, 0.0, seconds(*buffer, buffer->sampleCount()));
    }
    return sum;
}

std::size_t AudioQueue::bytes() const {
    std::size_t sum = 0;
    for (const auto& buffer : buffers_) {
        sum += buffer->dataBuffer()->dataLength();
    }
    return sum;
}

} // namespace zelvane
