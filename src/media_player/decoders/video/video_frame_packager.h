// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "media_player/decoders/video/software_frame_packager.h"

namespace zelvane {

/// Whether the picture lies on a device, where only its handle is known.
bool isHardwareFrame(const AVFrame& frame);

/// Makes pixel buffers, with all that is known about their colours, of the frames of one stream.
/// One thread at a time.
class VideoFramePackager {
  public:
    /// `context` outlives this. Throws FFmpegError or SystemError when its pictures are of a kind
    /// that cannot be shown.
    VideoFramePackager(AVCodecContext& context, const AVStream& stream);

    /// Throws FFmpegError, SystemError or DataMismatchError, for this one frame.
    CVPixelBufferRef package(const AVFrame& frame);

  private:
    CVPixelBufferRef makePixelBuffer(const AVFrame& frame);
    CVPixelBufferRef makePixelBufferForHardwareDecodedFrame(const AVFrame& frame);
    void adoptTraits(const AVFrame& frame);
    void noteFrameLevelHDRMetadata(const AVFrame& frame);
    void setHDRAttachments(CVPixelBuffer& pixelBuffer) const;

    using Bytes = std::optional<std::vector<std::uint8_t>>;

    AVCodecContext& context_;
    std::optional<SoftwareFramePackager> softwareFramePackager_;
    /// Of the last software frame: a change in mid-stream counts more than what was said at
    /// opening.
    std::optional<PictureTraits> latestTraits_;
    FrameColorConfigurator colorConfigurator_;
    Bytes streamLevelMasteringDisplayColorVolumeSEIMessageData_;
    Bytes streamLevelContentLightLevelInfoSEIMessageData_;
    Bytes latestFrameLevelMasteringDisplayColorVolumeSEIMessageData_;
    Bytes latestFrameLevelContentLightLevelInfoSEIMessageData_;
};

} // namespace zelvane
