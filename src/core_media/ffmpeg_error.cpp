// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/ffmpeg_error.h"

#include <array>

#include <fmt/format.h>

#include "foundation/log.h"

namespace zelvane {
namespace {

std::string statusText(int status) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> buffer{};
    av_strerror(status, buffer.data(), buffer.size());
    return buffer.data();
}

std::string simpleDescription(FFmpegError::Case errorCase) {
    switch (errorCase) {
    case FFmpegError::Case::eof:
        return statusText(AVERROR_EOF);
    case FFmpegError::Case::posixEAGAIN:
        return statusText(AVERROR(EAGAIN));
    case FFmpegError::Case::posixERANGE:
        return statusText(AVERROR(ERANGE));
    case FFmpegError::Case::allocationFailure:
        return "Failed to allocate memory.";
    case FFmpegError::Case::unsupportedMediaType:
        return "The media type is not supported.";
    case FFmpegError::Case::noPresentationTimestamp:
        return "Frame does not contain presentation timestamp.";
    case FFmpegError::Case::unknownSubtitleType:
        return "Subtitle type is unknown.";
    default:
        fatalError("An FFmpeg error was made without its payload.");
    }
}

} // namespace

FFmpegError FFmpegError::fromStatus(int status) {
    if (status == AVERROR_EOF) {
        return simple(Case::eof);
    }
    if (status == AVERROR(EAGAIN)) {
        return simple(Case::posixEAGAIN);
    }
    if (status == AVERROR(ERANGE)) {
        return simple(Case::posixERANGE);
    }
    return {Case::other, status, 0, statusText(status)};
}

FFmpegError FFmpegError::decoderNotFound(AVCodecID codecID) {
    return {Case::decoderNotFound, codecID, 0,
            fmt::format("Failed to find decoder for codec ID {}.", static_cast<int>(codecID))};
}

FFmpegError FFmpegError::unknownAudioSampleSize(AVSampleFormat sampleFormat) {
    return {
        Case::unknownAudioSampleSize, sampleFormat, 0,
        fmt::format("Unknown sample size for sample format {}.", static_cast<int>(sampleFormat))};
}

FFmpegError FFmpegError::unknownSampleFormat(AVSampleFormat sampleFormat) {
    return {Case::unknownSampleFormat, sampleFormat, 0,
            fmt::format("Unknown sample format {}.", static_cast<int>(sampleFormat))};
}

FFmpegError FFmpegError::unsupportedChannelCount(int channelCount) {
    return {Case::unsupportedChannelCount, 0, channelCount,
            fmt::format("{} is not a supported channel count.", channelCount)};
}

FFmpegError FFmpegError::channelLayoutDoesNotMatchChannelCount(std::uint64_t channelLayout,
                                                               int channelCount) {
    return {Case::channelLayoutDoesNotMatchChannelCount, static_cast<std::int64_t>(channelLayout),
            channelCount,
            fmt::format("Channel layout `{}` does not match channel count of {}.", channelLayout,
                        channelCount)};
}

FFmpegError FFmpegError::unexpectedChannelType(std::uint64_t channelType) {
    return {Case::unexpectedChannelType, static_cast<std::int64_t>(channelType), 0,
            fmt::format("Unexpectedly encountered channel type `{}`.", channelType)};
}

FFmpegError FFmpegError::unsupportedChannelLayout(std::uint64_t channelLayout) {
    return {Case::unsupportedChannelLayout, static_cast<std::int64_t>(channelLayout), 0,
            fmt::format("Unsupported channel layout {}.", channelLayout)};
}

FFmpegError FFmpegError::simple(Case errorCase) {
    const int status = errorCase == Case::eof           ? AVERROR_EOF
                       : errorCase == Case::posixEAGAIN ? AVERROR(EAGAIN)
                       : errorCase == Case::posixERANGE ? AVERROR(ERANGE)
                                                        : 0;
    return {errorCase, status, 0, simpleDescription(errorCase)};
}

void logFFmpegError(const FFmpegError& error, const SourceLocation& location) {
    logMessage("In {} {}, the FFmpeg function at line {} returned an error: {}.", location.file,
               location.function, location.line, error.what());
}

} // namespace zelvane
