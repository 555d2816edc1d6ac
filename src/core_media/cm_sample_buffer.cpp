// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/cm_sample_buffer.h"

namespace zelvane {

CMFormatDescriptionRef CMFormatDescription::ofAudio(Audio audio) {
    const auto& stream = audio.streamDescription;
    const bool hasTag = audio.channelLayoutTag != kAudioChannelLayoutTag_UseChannelDescriptions;
    const bool channelsAgree = (hasTag ? audio.channelLayoutTag & 0xffff
                                       : audio.channelLabels.size()) == stream.mChannelsPerFrame;
    if (!(stream.mSampleRate > 0) || stream.mBytesPerFrame == 0 || stream.mChannelsPerFrame == 0 ||
        !channelsAgree) {
        throwDarwinError(kCMFormatDescriptionError_InvalidParameter);
    }
    return CMFormatDescriptionRef(new CMFormatDescription(std::move(audio)));
}

CMSampleBufferRef CMSampleBuffer::ofPicture(CVPixelBufferRef imageBuffer,
                                            const CMSampleTimingInfo& timing) {
    std::shared_ptr<CMSampleBuffer> made(new CMSampleBuffer);
    made->imageBuffer_ = std::move(imageBuffer);
    made->timing_ = timing;
    made->duration_ = timing.duration;
    made->sampleCount_ = 1;
    return made;
}

CMSampleBufferRef CMSampleBuffer::ofAudio(std::shared_ptr<const CMBlockBuffer> dataBuffer,
                                          CMFormatDescriptionRef formatDescription,
                                          std::int64_t sampleCount,
                                          const CMSampleTimingInfo& timing,
                                          std::size_t sampleSize) {
    if (dataBuffer == nullptr || formatDescription == nullptr || sampleCount < 1) {
        throwDarwinError(kCMSampleBufferError_RequiredParameterMissing);
    }
    if (dataBuffer->dataLength() != static_cast<std::size_t>(sampleCount) * sampleSize) {
        throwDarwinError(kCMSampleBufferError_DataFailed);
    }
    std::shared_ptr<CMSampleBuffer> made(new CMSampleBuffer);
    made->dataBuffer_ = std::move(dataBuffer);
    made->formatDescription_ = std::move(formatDescription);
    made->timing_ = timing;
    made->duration_ = timing.duration * sampleCount;
    made->sampleCount_ = sampleCount;
    return made;
}

} // namespace zelvane
