// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/media_player/decoders/video_clip.h"

#include <fstream>

#include "core_media/ffmpeg_error.h"
#include "tests/support/clips.h"

namespace zelvane::test {

VideoClip::VideoClip(const std::filesystem::path& file) {
    AVFormatContext* opened = nullptr;
    checkedFFmpegCall([&] { return avformat_open_input(&opened, file.c_str(), nullptr, nullptr); });
    input_.reset(opened);
    checkedFFmpegCall([&] { return avformat_find_stream_info(opened, nullptr); });
    index_ = checkedFFmpegCall(
        [&] { return av_find_best_stream(opened, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0); });
}

PacketRef VideoClip::read() {
    for (;;) {
        ffmpeg::AVPacketHandle packet(checkedFFmpegAllocation(av_packet_alloc()));
        if (av_read_frame(input_.get(), packet.get()) < 0) {
            return nullptr;
        }
        if (packet->stream_index == index_) {
            return std::make_shared<const Packet>(std::move(packet));
        }
    }
}

int decodeClip(VideoClip& clip, FFmpegVideoDecoder& decoder,
               const std::function<void(const CMSampleBufferRef&)>& handler) {
    CoreMediaCompatibleDecodeSession session(decoder, handler);
    int failures = 0;
    while (const auto packet = clip.read()) {
        try {
            session.decode(packet);
        } catch (const Error&) {
            ++failures;
        }
    }
    try {
        session.finish();
    } catch (const Error&) {
        ++failures;
    }
    return failures;
}

std::vector<CMSampleBufferRef> decodeClip(const std::filesystem::path& file) {
    VideoClip clip(file);
    NoHardware hardware;
    FFmpegVideoDecoder decoder(clip.stream(), hardware);
    std::vector<CMSampleBufferRef> buffers;
    decodeClip(clip, decoder, [&](const CMSampleBufferRef& buffer) { buffers.push_back(buffer); });
    return buffers;
}

std::vector<std::uint8_t> visibleBytes(const CVPixelBuffer& pixelBuffer) {
    const auto& descriptor = *pixelFormatDescriptor(pixelBuffer.pixelFormat());
    std::vector<std::uint8_t> bytes;
    for (int i = 0; i < pixelBuffer.planeCount(); ++i) {
        const auto& plane = pixelBuffer.plane(i);
        const auto rowBytes = plane.width * descriptor.planes.at(i).bytesPerBlock;
        for (int y = 0; y < plane.height; ++y) {
            const auto* row = plane.baseAddress + y * plane.bytesPerRow;
            bytes.insert(bytes.end(), row, row + rowBytes);
        }
    }
    return bytes;
}

std::vector<std::uint8_t> rawVideo(const std::string& name, const std::filesystem::path& file,
                                   const std::string& pixelFormat) {
    const auto raw =
        madeClip(name + ".raw", {"-i", file.string(), "-map", "0:v:0", "-fps_mode", "passthrough",
                                 "-pix_fmt", pixelFormat, "-sws_flags", "0", "-f", "rawvideo"});
    std::ifstream stream(raw, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace zelvane::test
