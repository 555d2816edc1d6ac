// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/video/video_frame_packager.h"

#include <string_view>
#include <utility>

#include "core_media/ffmpeg_error.h"
#include "core_media/hdr_metadata.h"
#include "foundation/log.h"

namespace zelvane {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// The structure in the side data; null when it is absent or too short.
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

/// Replaces `latest` by the coded side data, if there is any. False when it is damaged.
template <class Metadata>
bool update(std::optional<Bytes>& latest, std::span<const std::uint8_t> sideData,
            std::optional<Bytes> (*coded)(const Metadata&)) {
    const auto* found = metadata<Metadata>(sideData);
    if (found == nullptr) {
        return true;
    }
    auto bytes = coded(*found);
    if (!bytes) {
        return false;
    }
    latest = std::move(bytes);
    return true;
}

/// The format of a device's frame after download; none for layouts without a pixel format.
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
        pixelBuffer.setAttachment(key, *value);
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
    : context_(context) {
    updateHDRMetadata(streamLevel_,
                      ffmpeg::streamSideData(stream, AV_PKT_DATA_MASTERING_DISPLAY_METADATA),
                      ffmpeg::streamSideData(stream, AV_PKT_DATA_CONTENT_LIGHT_LEVEL));
    softwareFramePackager_.emplace(context, PictureTraits::of(context));
}

CVPixelBufferRef VideoFramePackager::package(const AVFrame& frame) {
    auto pixelBuffer = makePixelBuffer(frame);
    colorConfigurator_.configure(*pixelBuffer, frame);
    updateHDRMetadata(latestFrameLevel_, sideData(frame, AV_FRAME_DATA_MASTERING_DISPLAY_METADATA),
                      sideData(frame, AV_FRAME_DATA_CONTENT_LIGHT_LEVEL));
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
                               pixelAspectRatioAttachment(frame.sample_aspect_ratio));
    return pixelBuffer;
}

/// Any property may change between two frames.
void VideoFramePackager::adoptTraits(const AVFrame& frame) {
    const auto traits = PictureTraits::of(frame);
    const bool isLayoutNew =
        !softwareFramePackager_ || !traits.hasSameLayoutAs(softwareFramePackager_->traits());
    const bool isMetadataNew = latestTraits_ && !traits.hasSameMetadataAs(*latestTraits_);
    if (isLayoutNew || isMetadataNew) {
        softwareFramePackager_.emplace(context_, traits);
    }
    latestTraits_ = traits;
}

void VideoFramePackager::updateHDRMetadata(HDRMetadata& latest,
                                           std::span<const std::uint8_t> masteringDisplay,
                                           std::span<const std::uint8_t> contentLightLevel) {
    const bool isDisplayUsable = update(latest.masteringDisplayColorVolume, masteringDisplay,
                                        masteringDisplayColorVolumeSEIMessageData);
    const bool isLightUsable = update(latest.contentLightLevelInfo, contentLightLevel,
                                      contentLightLevelInfoSEIMessageData);
    if ((!isDisplayUsable || !isLightUsable) && !std::exchange(didLogDamagedMetadata_, true)) {
        logMessage("Ignoring HDR metadata that is out of range.");
    }
}

void VideoFramePackager::setHDRAttachments(CVPixelBuffer& pixelBuffer) const {
    setOrRemove(pixelBuffer, kCVImageBufferMasteringDisplayColorVolumeKey,
                latestFrameLevel_.masteringDisplayColorVolume,
                streamLevel_.masteringDisplayColorVolume);
    setOrRemove(pixelBuffer, kCVImageBufferContentLightLevelInfoKey,
                latestFrameLevel_.contentLightLevelInfo, streamLevel_.contentLightLevelInfo);
}

} // namespace zelvane
