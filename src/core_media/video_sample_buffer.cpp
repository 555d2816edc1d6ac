// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/video_sample_buffer.h"

#include <utility>

#include "core_media/ffmpeg_error.h"
#include "core_media/ffmpeg_time.h"

namespace zelvane {
namespace {

CMTime durationOfFrame(const AVFrame& frame, AVRational timeBase) {
    const auto duration = timeFromStamp(ffmpeg::frameDuration(frame), timeBase);
    return duration && *duration > kCMTimeZero ? *duration : kCMTimeInvalid;
}

} // namespace

CMSampleBufferRef makeSampleBuffer(CVPixelBufferRef pixelBuffer, const AVFrame& ffmpegFrame,
                                   AVRational ffmpegStreamTimeBase,
                                   std::optional<CMTime> presentationTimestampIfMissing) {
    const auto stamp = timeFromStamp(ffmpegFrame.best_effort_timestamp, ffmpegStreamTimeBase);
    const auto presentationTime = stamp ? stamp : presentationTimestampIfMissing;
    if (!presentationTime) {
        throw FFmpegError::simple(FFmpegError::Case::noPresentationTimestamp);
    }
    return CMSampleBuffer::ofPicture(
        std::move(pixelBuffer),
        {durationOfFrame(ffmpegFrame, ffmpegStreamTimeBase), *presentationTime, kCMTimeInvalid});
}

} // namespace zelvane
