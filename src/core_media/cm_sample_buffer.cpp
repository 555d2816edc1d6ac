// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/cm_sample_buffer.h"

#include <utility>

namespace zelvane {

OSStatus CMFormatDescription::createForImageBuffer(
    const CVPixelBuffer& pixelBuffer, std::shared_ptr<const CMFormatDescription>& description) {
    description.reset(new CMFormatDescription(
        Video{pixelBuffer.pixelFormat(), pixelBuffer.width(), pixelBuffer.height()}));
    return kNoErr;
}

OSStatus CMFormatDescription::createForAudio(
    Audio audio, std::shared_ptr<const CMFormatDescription>& description) {
    const auto& stream = audio.streamDescription;
    const bool channelsAgree = (audio.channelLayoutTag & 0xffff) == stream.mChannelsPerFrame;
    if (!(stream.mSampleRate > 0) || stream.mBytesPerFrame == 0 || stream.mChannelsPerFrame == 0 ||
        !channelsAgree) {
        return kCMFormatDescriptionError_InvalidParameter;
    }
    description.reset(new CMFormatDescription(std::move(audio)));
    return kNoErr;
}

OSStatus CMSampleBuffer::createReadyWithImageBuffer(
    CVPixelBufferRef imageBuffer, CMFormatDescriptionRef formatDescription,
    const CMSampleTimingInfo& timing, std::shared_ptr<const CMSampleBuffer>& sampleBuffer) {
    if (imageBuffer == nullptr || formatDescription == nullptr) {
        return kCMSampleBufferError_RequiredParameterMissing;
    }
    std::shared_ptr<CMSampleBuffer> made(new CMSampleBuffer);
    made->imageBuffer_ = std::move(imageBuffer);
    made->formatDescription_ = std::move(formatDescription);
    made->timing_ = timing;
    made->duration_ = timing.duration;
    made->sampleCount_ = 1;
    sampleBuffer = std::move(made);
    return kNoErr;
}

OSStatus CMSampleBuffer::create(std::shared_ptr<const CMBlockBuffer> dataBuffer,
                                CMFormatDescriptionRef formatDescription, std::int64_t sampleCount,
                                const CMSampleTimingInfo& timing, std::size_t sampleSize,
                                std::shared_ptr<const CMSampleBuffer>& sampleBuffer) {
    if (dataBuffer == nullptr || formatDescription == nullptr || sampleCount < 1) {
        return kCMSampleBufferError_RequiredParameterMissing;
    }
    if (dataBuffer->dataLength() != static_cast<std::size_t>(sampleCount) * sampleSize) {
        return kCMSampleBufferError_DataFailed;
    }
    std::shared_ptr<CMSampleBuffer> made(new CMSampleBuffer);
    made->dataBuffer_ = std::move(dataBuffer);
    made->formatDescription_ = std::move(formatDescription);
    made->timing_ = timing;
    made->duration_ = timing.duration * sampleCount;
    made->sampleCount_ = sampleCount;
    sampleBuffer = std::move(made);
    return kNoErr;
}

} // namespace zelvane
