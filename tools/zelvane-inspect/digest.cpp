// SPDX-License-Identifier: GPL-3.0-or-later
#include "digest.h"

#include <array>

#include <fmt/format.h>

#include "core_media/ffmpeg_error.h"

namespace zelvane::inspect {

void Digest::Free::operator()(AVSHA* context) const {
    av_free(context);
}

Digest::Digest() : context_(checkedFFmpegAllocation(av_sha_alloc())) {
    constexpr int kBits = 256;
    av_sha_init(context_.get(), kBits);
}

void Digest::add(std::span<const std::uint8_t> bytes) {
    av_sha_update(context_.get(), bytes.data(), bytes.size());
}

std::string Digest::finish() {
    std::array<std::uint8_t, 32> result{};
    av_sha_final(context_.get(), result.data());
    return hexText(result);
}

std::string hexText(std::span<const std::uint8_t> bytes) {
    std::string text;
    for (const auto byte : bytes) {
        text += fmt::format("{:02x}", byte);
    }
    return text;
}

namespace {

ffmpeg::Frame downloaded(const AVFrame& deviceFrame) {
    ffmpeg::Frame frame(checkedFFmpegAllocation(av_frame_alloc()));
    checkedFFmpegCall([&] { return av_hwframe_transfer_data(frame.get(), &deviceFrame, 0); });
    frame->width = deviceFrame.width;
    frame->height = deviceFrame.height;
    return frame;
}

void addPlanes(Digest& digest, const AVFrame& frame) {
    const auto format = static_cast<AVPixelFormat>(frame.format);
    for (int i = 0; i < av_pix_fmt_count_planes(format); ++i) {
        const auto* descriptor = av_pix_fmt_desc_get(format);
        const int shift = i == 1 || i == 2 ? descriptor->log2_chroma_h : 0;
        const int rowBytes =
            checkedFFmpegCall([&] { return av_image_get_linesize(format, frame.width, i); });
        for (int row = 0; row < AV_CEIL_RSHIFT(frame.height, shift); ++row) {
            digest.add({frame.data[i] + static_cast<std::ptrdiff_t>(row) * frame.linesize[i],
                        static_cast<std::size_t>(rowBytes)});
        }
    }
}

void addPlanes(Digest& digest, const CVPixelBuffer& pixelBuffer) {
    const auto* descriptor = pixelFormatDescriptor(pixelBuffer.pixelFormat());
    for (int i = 0; i < pixelBuffer.planeCount(); ++i) {
        const auto& plane = pixelBuffer.plane(i);
        const int bytesPerBlock = descriptor->planes.at(static_cast<std::size_t>(i)).bytesPerBlock;
        const auto rowBytes = static_cast<std::size_t>(plane.width) * bytesPerBlock;
        for (int row = 0; row < plane.height; ++row) {
            digest.add(
                {plane.baseAddress + static_cast<std::size_t>(row) * plane.bytesPerRow, rowBytes});
        }
    }
}

} // namespace

std::string pictureDigest(const CVPixelBuffer& pixelBuffer) {
    Digest digest;
    if (const AVFrame* deviceFrame = pixelBuffer.deviceFrame()) {
        addPlanes(digest, *downloaded(*deviceFrame));
    } else {
        addPlanes(digest, pixelBuffer);
    }
    return digest.finish();
}

std::string dataDigest(const CMBlockBuffer& data) {
    Digest digest;
    for (std::size_t i = 0; i < data.blockCount(); ++i) {
        digest.add(data.block(i));
    }
    return digest.finish();
}

} // namespace zelvane::inspect
