// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "media_player/decoders/video/software_frame_packager.h"

namespace zelvane {

/// Whether the picture is on a device.
bool isHardwareFrame(const AVFrame& frame);

/// Makes pixel buffers with their colour attachments from the frames of one stream. One thread at a
/// time.
class VideoFramePackager {
  public:
    /// `context` must outlive this. Throws FFmpegError or SystemError when its pictures cannot be
    /// shown.
    VideoFramePackager(AVCodecContext& context, const AVStream& stream);

    /// Throws FFmpegError, SystemError or DataMismatchError, for this frame only.
    CVPixelBufferRef package(const AVFrame& frame);

  private:
    CVPixelBufferRef makePixelBuffer(const AVFrame& frame);
    CVPixelBufferRef makePixelBufferForHardwareDecodedFrame(const AVFrame& frame);
    void adoptTraits(const AVFrame& frame);
    void setHDRAttachments(CVPixelBuffer& pixelBuffer) const;

    /// Payloads of SEI messages.
    struct HDRMetadata {
        std::optional<std::vector<std::uint8_t>> masteringDisplayColorVolume;
        std::optional<std::vector<std::uint8_t>> contentLightLevelInfo;
    };
    /// Replaces the values in `latest` that the side data contains. Drops damaged metadata, with
    /// one log line for the stream.
    void updateHDRMetadata(HDRMetadata& latest, std::span<const std::uint8_t> masteringDisplay,
                           std::span<const std::uint8_t> contentLightLevel);

    AVCodecContext& context_;
    std::optional<SoftwareFramePackager> softwareFramePackager_;
    /// Of the last software frame: a change in mid-stream overrides the values at opening.
    std::optional<PictureTraits> latestTraits_;
    FrameColorConfigurator colorConfigurator_;
    HDRMetadata streamLevel_;
    HDRMetadata latestFrameLevel_;
    bool didLogDamagedMetadata_ = false;
};

} // namespace zelvane
