// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/video/video_frame_packager.h"

#include <string_view>
#include <utility>

#include "core_media/ffmpeg_error.h"
#include "core_media/hdr_metadata.h"

namespace zelvane {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// The structure that side data hold; null where there are none, or too few of them.
template <class Metadata>
const Metadata* metadata(std::span<const std::uint8_t> sideData) {
    return sideData.size() < sizeof(Metadata) ? nullptr
                                              : reinterpret_cast<const Metadata*>(sideData.data());
}

std::span<const std::uint8_t> sideData(const AVFrame& frame, AVFrameSideDataType type) {
    const auto* found = av_frame_get_side_data(&frame, type);
    return found == nullptr ? std::span<const std::uint8_t>()
                            : std::span<const std::uint8_t>(found->data, found->size);
}

std::optional<Bytes> masteringDisplay(std::span<const std::uint8_t> sideData) {
    const auto* found = metadata<AVMasteringDisplayMetadata>(sideData);
    return found == nullptr ? std::nullopt
                            : std::optional(masteringDisplayColorVolumeSEIMessageData(*found));
}

std::optional<Bytes> contentLightLevel(std::span<const std::uint8_t> sideData) {
    const auto* found = metadata<AVContentLightMetadata>(sideData);
    return found == nullptr ? std::nullopt
                            : std::optional(contentLightLevelInfoSEIMessageData(*found));
}

/// What a frame on a device is like once it is brought to memory; none for layouts that pixel
/// buffers do not have.
std::optional<OSType> pixelFormatOnDevice(const AVFrame& frame) {
    if (frame.hw_frames_ctx == nullptr) {
        return std::nullopt;
    }
    const auto* frames = reinterpret_cast<const AVHWFramesContext*>(frame.hw_frames_ctx->data);
    return correspondingPixelFormat({frames->sw_format, ffmpeg::colorRangeOf(frame)});
}

ffmpeg::Frame downloaded(const AVFrame& frame) {
    ffmpeg::Frame inMemory(checkedFFmpegAllocation(av_frame_alloc()));
    checkedFFmpegCall([&] { return av_hwframe_transfer_data(inMemory.get(), &frame, 0); });
    checkedFFmpegCall([&] { return av_frame_copy_props(inMemory.get(), &frame); });
    return inMemory;
}

void setOrRemove(CVPixelBuffer& pixelBuffer, std::string_view key,
                 const std::optional<Bytes>& latest, const std::optional<Bytes>& ofStream) {
    const auto& value = latest ? latest : ofStream;
    if (value) {
        pixelBuffer.setAttachment(key, *value, CVAttachmentMode::shouldPropagate);
    } else {
        pixelBuffer.removeAttachment(key);
    }
}

} // namespace

bool isHardwareFrame(const AVFrame& frame) {
    const bool hasNoPlanes =
        frame.data[0] == nullptr && frame.data[1] == nullptr && frame.data[2] == nullptr;
    return frame.hw_frames_ctx != nullptr || (hasNoPlanes && frame.data[3] != nullptr);
}

VideoFramePackager::VideoFramePackager(AVCodecContext& context, const AVStream& stream)
    : context_(context),
      streamLevelMasteringDisplayColorVolumeSEIMessageData_(
          masteringDisplay(ffmpeg::streamSideData(stream, AV_PKT_DATA_MASTERING_DISPLAY_METADATA))),
      streamLevelContentLightLevelInfoSEIMessageData_(
          contentLightLevel(ffmpeg::streamSideData(stream, AV_PKT_DATA_CONTENT_LIGHT_LEVEL))) {
    softwareFramePackager_.emplace(context, PictureTraits::of(context));
}

CVPixelBufferRef VideoFramePackager::package(const AVFrame& frame) {
    auto pixelBuffer = makePixelBuffer(frame);
    colorConfigurator_.configure(*pixelBuffer, frame);
    noteFrameLevelHDRMetadata(frame);
    setHDRAttachments(*pixelBuffer);
    return pixelBuffer;
}

CVPixelBufferRef VideoFramePackager::makePixelBuffer(const AVFrame& frame) {
    if (isHardwareFrame(frame)) {
        return makePixelBufferForHardwareDecodedFrame(frame);
    }
    adoptTraits(frame);
    return softwareFramePackager_->makePixelBufferForSoftwareDecodedFrame(frame);
}

CVPixelBufferRef VideoFramePackager::makePixelBufferForHardwareDecodedFrame(const AVFrame& frame) {
    const auto pixelFormat = pixelFormatOnDevice(frame);
    if (!pixelFormat) {
        return makePixelBuffer(*downloaded(frame));
    }
    auto pixelBuffer = CVPixelBuffer::onDevice(
        ffmpeg::Frame(checkedFFmpegAllocation(av_frame_clone(&frame))), *pixelFormat);
    pixelBuffer->setAttachment(kCVImageBufferPixelAspectRatioKey,
                               pixelAspectRatioAttachment(frame.sample_aspect_ratio),
                               CVAttachmentMode::shouldPropagate);
    return pixelBuffer;
}

/// A decoder may change its mind about anything between two frames.
void VideoFramePackager::adoptTraits(const AVFrame& frame) {
    const auto traits = PictureTraits::of(frame);
    const bool isNewMemory =
        !softwareFramePackager_ || !traits.isOfSameMemoryAs(softwareFramePackager_->traits());
    const bool saysSomethingNew = latestTraits_ && !traits.saysTheSameAs(*latestTraits_);
    if (isNewMemory || saysSomethingNew) {
        softwareFramePackager_.emplace(context_, traits);
    }
    latestTraits_ = traits;
}

void VideoFramePackager::noteFrameLevelHDRMetadata(const AVFrame& frame) {
    if (auto found = masteringDisplay(sideData(frame, AV_FRAME_DATA_MASTERING_DISPLAY_METADATA))) {
        latestFrameLevelMasteringDisplayColorVolumeSEIMessageData_ = std::move(found);
    }
    if (auto found = contentLightLevel(sideData(frame, AV_FRAME_DATA_CONTENT_LIGHT_LEVEL))) {
        latestFrameLevelContentLightLevelInfoSEIMessageData_ = std::move(found);
    }
}

void VideoFramePackager::setHDRAttachments(CVPixelBuffer& pixelBuffer) const {
    setOrRemove(pixelBuffer, kCVImageBufferMasteringDisplayColorVolumeKey,
                latestFrameLevelMasteringDisplayColorVolumeSEIMessageData_,
                streamLevelMasteringDisplayColorVolumeSEIMessageData_);
    setOrRemove(pixelBuffer, kCVImageBufferContentLightLevelInfoKey,
                latestFrameLevelContentLightLevelInfoSEIMessageData_,
                streamLevelContentLightLevelInfoSEIMessageData_);
}

} // namespace zelvane
