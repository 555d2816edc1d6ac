// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <utility>

#include "core_media/ffmpeg.h"
#include "foundation/error.h"
#include "foundation/source_location.h"

namespace zelvane {

/// An error of FFmpeg or of a request to it: a case and its payload. A value.
class FFmpegError : public Error {
  public:
    enum class Case {
        other,
        decoderNotFound,
        unknownAudioSampleSize,
        unknownSampleFormat,
        unsupportedChannelCount,
        channelLayoutDoesNotMatchChannelCount,
        unexpectedChannelType,
        unsupportedChannelLayout,
        eof,
        posixEAGAIN,
        posixERANGE,
        allocationFailure,
        unsupportedMediaType,
        noPresentationTimestamp,
        unknownSubtitleType,
    };

    /// The case of a negative status.
    static FFmpegError fromStatus(int status);
    static FFmpegError decoderNotFound(AVCodecID codecID);
    static FFmpegError unknownAudioSampleSize(AVSampleFormat sampleFormat);
    static FFmpegError unknownSampleFormat(AVSampleFormat sampleFormat);
    static FFmpegError unsupportedChannelCount(int channelCount);
    static FFmpegError channelLayoutDoesNotMatchChannelCount(std::uint64_t channelLayout,
                                                             int channelCount);
    static FFmpegError unexpectedChannelType(std::uint64_t channelType);
    static FFmpegError unsupportedChannelLayout(std::uint64_t channelLayout);
    /// A case without payload.
    static FFmpegError simple(Case errorCase);

    Case errorCase() const { return case_; }
    /// The status for cases made from one; the codec ID, sample format, mask or count for the
    /// others; 0 without payload.
    std::int64_t payload() const { return payload_; }
    int channelCount() const { return channelCount_; }

    friend bool operator==(const FFmpegError& a, const FFmpegError& b) {
        return a.case_ == b.case_ && a.payload_ == b.payload_ && a.channelCount_ == b.channelCount_;
    }

  private:
    FFmpegError(Case errorCase, std::int64_t payload, int channelCount, std::string description)
        : Error(std::move(description)), case_(errorCase), payload_(payload),
          channelCount_(channelCount) {}

    Case case_;
    std::int64_t payload_;
    int channelCount_;
};

/// Writes the one log line of a failed FFmpeg call.
void logFFmpegError(const FFmpegError& error, const SourceLocation& location);

/// How checkedFFmpegCall treats a failing status.
struct FFmpegCallOptions {
    /// Cases that the caller handles: thrown, but not logged.
    std::initializer_list<FFmpegError::Case> expected = {};
    /// Repeat the call for as long as it returns AVERROR(EAGAIN).
    bool retryOnEAGAIN = false;
};

/// Runs a call that returns a status. A status of zero or above is returned; any other is logged,
/// unless it is expected, and thrown as FFmpegError.
template <class Call>
int checkedFFmpegCall(Call&& call, const FFmpegCallOptions& options = {},
                      SourceLocation location = SourceLocation::current()) {
    int status = call();
    while (options.retryOnEAGAIN && status == AVERROR(EAGAIN)) {
        status = call();
    }
    if (status >= 0) {
        return status;
    }
    const auto error = FFmpegError::fromStatus(status);
    if (std::find(options.expected.begin(), options.expected.end(), error.errorCase()) ==
        options.expected.end()) {
        logFFmpegError(error, location);
    }
    throw error;
}

/// Returns the result of an FFmpeg allocator; logs and throws allocationFailure for null.
template <class Pointer>
Pointer checkedFFmpegAllocation(Pointer pointer,
                                SourceLocation location = SourceLocation::current()) {
    if (pointer == nullptr) {
        const auto error = FFmpegError::simple(FFmpegError::Case::allocationFailure);
        logFFmpegError(error, location);
        throw error;
    }
    return pointer;
}

} // namespace zelvane
