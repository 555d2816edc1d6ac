// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/image.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "core_media/ffmpeg_error.h"
#include "core_media/ffmpeg_handles.h"
#include "core_media/ffmpeg_pixel_format.h"

namespace zelvane {
namespace {

using namespace std::string_view_literals;

struct ImageFormat {
    const char* name;
    AVCodecID codecID;
    std::string_view signature;
    /// A second signature after the length field that follows the first.
    std::string_view kind = ""sv;
};

constexpr std::array kFormats{
    ImageFormat{"JPEG", AV_CODEC_ID_MJPEG, "\xff\xd8\xff"sv},
    ImageFormat{"PNG", AV_CODEC_ID_PNG, "\x89PNG\r\n\x1a\n"sv},
    ImageFormat{"GIF", AV_CODEC_ID_GIF, "GIF8"sv},
    ImageFormat{"BMP", AV_CODEC_ID_BMP, "BM"sv},
    ImageFormat{"WebP", AV_CODEC_ID_WEBP, "RIFF"sv, "WEBP"sv},
};

const ImageFormat* formatOf(std::string_view bytes) {
    constexpr std::size_t kKindOffset = 8;
    const auto* const found = std::find_if(kFormats.begin(), kFormats.end(), [&](const auto& f) {
        return bytes.substr(0, f.signature.size()) == f.signature &&
               (f.kind.empty() ||
                (bytes.size() > kKindOffset && bytes.substr(kKindOffset, f.kind.size()) == f.kind));
    });
    return found == kFormats.end() ? nullptr : found;
}

/// Null when it contains no picture.
ffmpeg::Frame decodedFrame(const AVPacket& file, const AVCodec* codec) {
    const ffmpeg::CodecContext context(checkedFFmpegAllocation(avcodec_alloc_context3(codec)));
    ffmpeg::Frame frame(checkedFFmpegAllocation(av_frame_alloc()));
    context->max_pixels = kMaxImagePixelCount;
    context->thread_count = 1;
    const bool isDecoded = avcodec_open2(context.get(), codec, nullptr) >= 0 &&
                           avcodec_send_packet(context.get(), &file) >= 0 &&
                           // Draining makes decoders with a delay return the frame.
                           avcodec_send_packet(context.get(), nullptr) >= 0 &&
                           avcodec_receive_frame(context.get(), frame.get()) >= 0;
    return isDecoded ? std::move(frame) : nullptr;
}

ffmpeg::Scaler makeScaler(const AVFrame& frame, const FFmpegPixelLayout& layout) {
    if (frame.width < 1 || frame.height < 1 || av_pix_fmt_desc_get(layout.format) == nullptr ||
        sws_isSupportedInput(layout.format) == 0) {
        return nullptr;
    }
    constexpr int kExact = SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT;
    ffmpeg::Scaler scaler(sws_getContext(frame.width, frame.height, layout.format, frame.width,
                                         frame.height, AV_PIX_FMT_RGBA, kExact, nullptr, nullptr,
                                         nullptr));
    if (scaler != nullptr) {
        constexpr int kFullRange = 1;
        constexpr int kUnchanged = 1 << 16;
        // JPEG and WebP have one matrix only.
        const int* const matrix = sws_getCoefficients(SWS_CS_ITU601);
        sws_setColorspaceDetails(scaler.get(), matrix, layout.range == AVCOL_RANGE_JPEG ? 1 : 0,
                                 matrix, kFullRange, 0, kUnchanged, kUnchanged);
    }
    return scaler;
}

bool fillPixels(Image& image, const AVFrame& frame) {
    const auto layout =
        canonicalLayout(static_cast<AVPixelFormat>(frame.format), ffmpeg::colorRangeOf(frame));
    const auto scaler = makeScaler(frame, layout);
    if (scaler == nullptr) {
        return false;
    }
    constexpr int kBytesPerPixel = 4;
    image.pixels.resize(static_cast<std::size_t>(frame.width) * frame.height * kBytesPerPixel);
    std::uint8_t* const rows = image.pixels.data();
    const int rowBytes = frame.width * kBytesPerPixel;
    return sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, &rows, &rowBytes) ==
           frame.height;
}

} // namespace

ImageRef decodeImage(const AVPacket& file) {
    const auto* const bytes = reinterpret_cast<const char*>(file.data);
    const auto* const format =
        formatOf({bytes, static_cast<std::size_t>(bytes == nullptr ? 0 : file.size)});
    const AVCodec* const codec =
        format == nullptr ? nullptr : avcodec_find_decoder(format->codecID);
    const auto frame = codec == nullptr ? nullptr : decodedFrame(file, codec);
    if (frame == nullptr) {
        return nullptr;
    }
    auto image = std::make_shared<Image>(Image{frame->width, frame->height, format->name, {}});
    return fillPixels(*image, *frame) ? image : nullptr;
}

} // namespace zelvane
