// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "media_player/decoders/common/core_media_compatible_decode_session.h"
#include "media_player/decoders/video/ffmpeg_video_decoder.h"
#include "tests/media_player/decoders/demuxed_stream.h"

namespace zelvane::test {

/// A machine without video decoding hardware.
class NoHardware final : public VideoDecodingHardware {
  public:
    ffmpeg::BufferRef makeHardwareDeviceContext() override { return nullptr; }
};

/// Runs the whole clip through a decode session. Errors of packets are dropped, as a player does;
/// their number is returned.
int decodeClip(const DemuxedStream& clip, FFmpegVideoDecoder& decoder,
               const std::function<void(const CMSampleBufferRef&)>& handler);

/// All sample buffers of a file, decoded without hardware.
std::vector<CMSampleBufferRef> decodeClip(const std::filesystem::path& file);

/// The visible bytes of all planes, row by row: what a raw video file holds.
std::vector<std::uint8_t> visibleBytes(const CVPixelBuffer& pixelBuffer);

/// What ffmpeg makes of the whole file in the given pixel format: frames one after the other.
std::vector<std::uint8_t> rawVideo(const std::string& name, const std::filesystem::path& file,
                                   const std::string& pixelFormat);

} // namespace zelvane::test
