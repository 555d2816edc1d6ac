// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/media_player/decoders/video_decoding.h"

#include <fstream>

#include "tests/support/clips.h"

namespace zelvane::test {

int decodeClip(const DemuxedStream& clip, FFmpegVideoDecoder& decoder,
               const std::function<void(const CMSampleBufferRef&)>& handler) {
    CoreMediaCompatibleDecodeSession session(decoder, handler);
    int failures = 0;
    while (const auto packet = clip.next()) {
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
    const DemuxedStream clip(file, AVMEDIA_TYPE_VIDEO);
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
