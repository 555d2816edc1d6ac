// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "core_media/cm_sample_buffer.h"

namespace zelvane {

/// Audio buffers in the order of their times, read from any time on. Gaps are read as silence;
/// overlapping and late parts are trimmed. Buffers stay until they are released, so that they can
/// be read again after a pause or a change of rate. Not thread-safe.
class AudioQueue {
  public:
    /// Seconds. A stamp that differs less than this from the end of the buffer before is taken to
    /// be that end: containers round to milliseconds, and correcting each by a sample is audible.
    static constexpr double kStampJitter = 0.005;

    /// The position of a reader. It starts exactly at a time.
    class Cursor {
      public:
        explicit Cursor(const CMTime& time = kCMTimeZero) : origin_(time) {}
        CMTime time() const;
        /// Skips `frames` frames of `sampleRate`, for silence that the reader made itself.
        void skip(std::int64_t frames, double sampleRate);

      private:
        friend class AudioQueue;
        void advance(std::int64_t frames, double sampleRate);

        /// The time is `origin_` plus a whole number of frames, so that it does not drift by
        /// rounding.
        CMTime origin_;
        std::int64_t frames_ = 0;
        double sampleRate_ = 0;
        /// The buffer that is being read, and its next frame.
        CMSampleBufferRef buffer_;
        std::int64_t frame_ = 0;
        /// Sound after silence is placed exactly to the sample.
        bool isInSilence_ = true;
    };
    /// A run of frames of one format: from `frame` on in `buffer`, or silence in the buffer's
    /// format.
    struct Chunk {
        CMSampleBufferRef buffer;
        std::int64_t frame = 0;
        std::int64_t frameCount = 0;
        bool isSilence = false;
    };

    /// Returns false, and keeps nothing, if the buffer is not linear PCM with a time.
    bool insert(CMSampleBufferRef buffer);
    void clear() { buffers_.clear(); }
    /// Drops buffers that end at or before `time`.
    void releaseBefore(const CMTime& time);

    /// The next chunk of at most `maxFrames` frames; none when there is nothing at or after the
    /// cursor.
    std::optional<Chunk> read(Cursor& cursor, std::int64_t maxFrames) const;
    /// Returns whether read() from `time` on returns a chunk.
    bool hasDataAfter(const CMTime& time) const;

    /// Seconds of sound that end after `time`.
    double secondsAfter(const CMTime& time) const;
    std::size_t bytes() const;

  private:
    CMSampleBufferRef next(const Cursor& cursor) const;
    static std::optional<Chunk> enter(Cursor& cursor, const CMSampleBufferRef& buffer,
                                      std::int64_t maxFrames);

    std::vector<CMSampleBufferRef> buffers_;
};

} // namespace zelvane
