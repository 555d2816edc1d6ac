// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/video/picture_allocator.h"

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "core_media/ffmpeg_error.h"
#include "core_media/ffmpeg_memory.h"
#include "core_media/picture_memory.h"
#include "tests/media_player/decoders/demuxed_stream.h"
#include "tests/support/clips.h"

namespace zelvane::test {
namespace {

struct Decoded {
    /// The visible bytes of each picture.
    std::vector<std::vector<std::uint8_t>> pictures;
    std::set<const std::uint8_t*> blocks;
    std::set<int> rowBytes;
    int buffersPerPicture = 0;
};

std::vector<std::uint8_t> visibleBytes(const AVFrame& frame) {
    const auto format = static_cast<AVPixelFormat>(frame.format);
    std::vector<std::uint8_t> bytes(
        static_cast<std::size_t>(av_image_get_buffer_size(format, frame.width, frame.height, 1)));
    av_image_copy_to_buffer(bytes.data(), static_cast<int>(bytes.size()), frame.data,
                            frame.linesize, format, frame.width, frame.height, 1);
    return bytes;
}

void receive(AVCodecContext& context, Decoded& decoded) {
    const ffmpeg::Frame frame(av_frame_alloc());
    while (avcodec_receive_frame(&context, frame.get()) >= 0) {
        decoded.pictures.push_back(visibleBytes(*frame));
        decoded.blocks.insert(frame->buf[0]->data);
        decoded.rowBytes.insert(frame->linesize, frame->linesize + 4);
        decoded.buffersPerPicture = 0;
        for (const AVBufferRef* buffer : frame->buf) {
            decoded.buffersPerPicture += buffer != nullptr ? 1 : 0;
        }
    }
}

/// All pictures of the file, allocated by `pictures` or, without one, by libavcodec.
Decoded decode(const std::filesystem::path& file, PictureAllocator* pictures, int threads) {
    const DemuxedStream input(file, AVMEDIA_TYPE_VIDEO);
    const AVCodecParameters& parameters = *input.stream().codecpar;
    const AVCodec* const codec = avcodec_find_decoder(parameters.codec_id);
    const ffmpeg::CodecContext context(avcodec_alloc_context3(codec));
    avcodec_parameters_to_context(context.get(), &parameters);
    context->thread_count = threads;
    if (pictures != nullptr) {
        pictures->serve(*context);
    }
    checkedFFmpegCall([&] { return avcodec_open2(context.get(), codec, nullptr); });
    Decoded decoded;
    while (const auto packet = input.next()) {
        avcodec_send_packet(context.get(), &packet->avPacket());
        receive(*context, decoded);
    }
    avcodec_send_packet(context.get(), nullptr);
    receive(*context, decoded);
    return decoded;
}

#ifdef __SANITIZE_THREAD__
/// The sanitizer does not know the atomics with which libavcodec's threads pass on pictures.
constexpr int kThreadCounts[] = {1};
#else
constexpr int kThreadCounts[] = {1, 3};
#endif

struct Picture {
    std::string codec;
    std::string format;
    std::string size;
    bool isServed;
};

TEST(PictureAllocator, givesTheLibrarysPicturesInOneBlockEach) {
    const Picture cases[] = {
        {"libx264", "yuv420p", "1922x1082", true},    {"libx264", "yuv420p10le", "1280x720", true},
        {"libx265", "yuv422p10le", "1366x768", true}, {"ffv1", "yuva444p", "1000x700", true},
        {"ffv1", "gbrp", "1001x701", true},           {"ffv1", "gray", "1921x1081", true},
        {"libx264", "yuv420p", "640x360", true},      {"rawvideo", "pal8", "1922x1082", false},
        {"libx264", "yuv420p", "320x180", false},
    };
    for (const auto& [codec, format, size, isServed] : cases) {
        SCOPED_TRACE(fmt::format("{} {} {}", codec, format, size));
        const auto clip =
            madeClip(fmt::format("pictures_{}_{}_{}.nut", codec, format, size),
                     fmt::format("-f lavfi -i testsrc2=r=25:d=0.4:s={} -c:v {} -pix_fmt {}", size,
                                 codec, format));
        const Decoded expected = decode(clip, nullptr, 1);
        ASSERT_EQ(expected.pictures.size(), 10U);
        for (const int threads : kThreadCounts) {
            PictureAllocator pictures;
            const Decoded decoded = decode(clip, &pictures, threads);
            EXPECT_EQ(decoded.pictures, expected.pictures);
            if (isServed) {
                EXPECT_EQ(decoded.buffersPerPicture, 1);
                EXPECT_LT(decoded.blocks.size(), 10U) << "blocks are used again";
                for (const int bytes : decoded.rowBytes) {
                    EXPECT_EQ(bytes % 64, 0);
                }
            } else {
                EXPECT_EQ(decoded.rowBytes, expected.rowBytes);
            }
        }
    }
}

TEST(PictureMemory, isZeroedAlignedAndLimited) {
    for (const std::size_t size :
         {std::size_t{100}, std::size_t{3} << 20, (std::size_t{5} << 20) + 1}) {
        const ffmpeg::BufferRef block(allocatePictureMemory(size));
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(block->size, size);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block->data) % 32, 0U);
        EXPECT_EQ(std::count(block->data, block->data + size, 0), static_cast<long>(size));
        std::fill_n(block->data, size, std::uint8_t{0xff});
    }
    EXPECT_EQ(allocatePictureMemory(kLargestFFmpegAllocation + 1), nullptr);
}

} // namespace
} // namespace zelvane::test
