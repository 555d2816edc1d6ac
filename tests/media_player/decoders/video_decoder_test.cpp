// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <fstream>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core_media/device_picture.h"
#include "core_media/ffmpeg_error.h"
#include "tests/media_player/decoders/video_decoding.h"
#include "tests/support/case_name.h"
#include "tests/support/clips.h"
#include "tests/support/log_capture.h"

namespace zelvane::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// A device of a kind that exists only in name: decoders can be told of it, and it can do nothing.
class IdleHardware final : public VideoDecodingHardware {
  public:
    explicit IdleHardware(AVHWDeviceType type) : type_(type) {}
    ffmpeg::BufferRef makeHardwareDeviceContext() override {
        return ffmpeg::BufferRef(checkedFFmpegAllocation(av_hwdevice_ctx_alloc(type_)));
    }

  private:
    AVHWDeviceType type_;
};

std::filesystem::path madeMJPEG(const std::string& name, const std::string& size,
                                const std::string& pixelFormat, const std::string& range = "pc") {
    return madeClip("video_" + name + ".avi",
                    {"-f", "lavfi", "-i", "testsrc=r=25:d=1:s=" + size, "-c:v", "mjpeg", "-pix_fmt",
                     pixelFormat, "-color_range", range, "-strict", "-1"});
}

PacketRef garbage() {
    ffmpeg::AVPacketHandle packet(av_packet_alloc());
    EXPECT_GE(av_new_packet(packet.get(), 100), 0);
    std::fill_n(packet->data, 100, std::uint8_t{0x55});
    return std::make_shared<const Packet>(std::move(packet));
}

/// Whether the packet was taken without an error.
bool feeds(FFmpegVideoDecoder& decoder, const PacketRef& packet) {
    try {
        const bool isTaken = decoder.startDecoding(*packet);
        while (decoder.dequeueSampleBuffer() != nullptr) {
        }
        return isTaken;
    } catch (const FFmpegError&) {
        return false;
    }
}

std::string attachmentText(const CVPixelBuffer& pixelBuffer, std::string_view key) {
    const auto* text = pixelBuffer.attachment<std::string>(key);
    return text == nullptr ? "" : text->substr(text->find('_') + 1);
}

TEST(VideoDecoderThreads, areTwoLessThanProcessorsButNeverNone) {
    EXPECT_EQ(videoDecoderThreadCount(0), 1);
    EXPECT_EQ(videoDecoderThreadCount(2), 1);
    EXPECT_EQ(videoDecoderThreadCount(3), 1);
    EXPECT_EQ(videoDecoderThreadCount(16), 14);
    EXPECT_EQ(searchThreadCount(1, 640, 360), 1);
    EXPECT_EQ(searchThreadCount(2, 1920, 1080), 3);
    EXPECT_EQ(searchThreadCount(2, 3840, 2160), 2);
    EXPECT_EQ(searchThreadCount(32, 3840, 2160), 16);
}

TEST(DecoderFormatChoice, prefersTheDeviceThenWhatTheDisplayLikesThenTheLast) {
    struct Row {
        std::vector<AVPixelFormat> offered;
        AVPixelFormat device;
        AVPixelFormat expected;
    };
    const auto none = AV_PIX_FMT_NONE;
    for (const auto& row : {
             Row{{AV_PIX_FMT_VDPAU, AV_PIX_FMT_VAAPI, AV_PIX_FMT_YUV420P},
                 AV_PIX_FMT_VAAPI,
                 AV_PIX_FMT_VAAPI},
             Row{{AV_PIX_FMT_VDPAU, AV_PIX_FMT_YUV420P}, AV_PIX_FMT_VAAPI, AV_PIX_FMT_YUV420P},
             Row{{AV_PIX_FMT_VAAPI, AV_PIX_FMT_YUV444P}, none, AV_PIX_FMT_YUV444P},
             Row{{AV_PIX_FMT_YUV420P, AV_PIX_FMT_BGRA, AV_PIX_FMT_P010LE}, none, AV_PIX_FMT_P010LE},
             Row{{AV_PIX_FMT_YUV420P, AV_PIX_FMT_UYVY422, AV_PIX_FMT_BGRA}, none, AV_PIX_FMT_BGRA},
             Row{{AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV444P}, none, AV_PIX_FMT_YUV420P},
             Row{{AV_PIX_FMT_YUV410P, AV_PIX_FMT_YUV444P}, none, AV_PIX_FMT_YUV444P},
             Row{{AV_PIX_FMT_VAAPI, AV_PIX_FMT_CUDA}, none, none},
             Row{{}, AV_PIX_FMT_VAAPI, none},
         }) {
        EXPECT_EQ(chooseDecoderFormat(row.offered, row.device), row.expected);
    }
    EXPECT_EQ(devicePixelFormat(AV_HWDEVICE_TYPE_VAAPI), AV_PIX_FMT_VAAPI);
    EXPECT_EQ(devicePixelFormat(AV_HWDEVICE_TYPE_CUDA), AV_PIX_FMT_CUDA);
    EXPECT_EQ(devicePixelFormat(AV_HWDEVICE_TYPE_VDPAU), AV_PIX_FMT_VDPAU);
    EXPECT_EQ(devicePixelFormat(AV_HWDEVICE_TYPE_DRM), AV_PIX_FMT_NONE);
}

class EachCodec : public testing::TestWithParam<std::pair<std::string, std::vector<std::string>>> {
};

TEST_P(EachCodec, yields300Of300FramesAsTheyWereCoded) {
    const auto& [name, arguments] = GetParam();
    std::vector<std::string> command{"-f", "lavfi", "-i", "testsrc2=r=30:d=10:s=128x96"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    const auto clip = madeClip("video_300_" + name + ".mkv", command);
    const auto buffers = decodeClip(clip);
    ASSERT_EQ(buffers.size(), 300U);
    const auto expected = rawVideo("video_300_" + name, clip, "yuv420p");
    const std::size_t frameSize = 128 * 96 * 3 / 2;
    ASSERT_EQ(expected.size(), 300 * frameSize);
    for (std::size_t i = 0; i < buffers.size(); ++i) {
        const auto bytes = visibleBytes(*buffers[i]->imageBuffer());
        ASSERT_TRUE(std::equal(bytes.begin(), bytes.end(), expected.begin() + i * frameSize,
                               expected.begin() + (i + 1) * frameSize))
            << "frame " << i;
        EXPECT_NEAR(buffers[i]->presentationTimeStamp().seconds(), i / 30.0, 0.0006);
        EXPECT_NEAR(buffers[i]->duration().seconds(), 1 / 30.0, 0.001);
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, EachCodec,
    testing::Values(std::pair("h264", std::vector<std::string>{"-c:v", "libx264", "-preset",
                                                               "ultrafast", "-bf", "2"}),
                    std::pair("mpeg4", std::vector<std::string>{"-c:v", "mpeg4", "-bf", "2"}),
                    std::pair("vp8", std::vector<std::string>{"-c:v", "libvpx", "-deadline",
                                                              "realtime", "-cpu-used", "16"})),
    caseName);

TEST(VideoDecoder, passesOnTheDecodersOwnMemoryWhereTheDisplayTakesIt) {
    const auto clip = madeMJPEG("own_memory", "64x48", "yuvj420p");
    NoHardware hardware;
    const DemuxedStream file(clip, AVMEDIA_TYPE_VIDEO);
    FFmpegVideoDecoder decoder(file.stream(), hardware);
    ASSERT_TRUE(decoder.startDecoding(*file.next()));
    const auto sampleBuffer = decoder.dequeueSampleBuffer();
    ASSERT_NE(sampleBuffer, nullptr);
    // A pool's rows are as long as they must be; a decoder's are longer.
    EXPECT_GT(sampleBuffer->imageBuffer()->plane(1).bytesPerRow, 32U);
    const auto first = visibleBytes(*sampleBuffer->imageBuffer());
    while (const auto packet = file.next()) {
        EXPECT_TRUE(feeds(decoder, packet));
    }
    EXPECT_EQ(visibleBytes(*sampleBuffer->imageBuffer()), first) << "the decoder wrote over it";
}

TEST(VideoDecoder, refusesOtherStreamsAndAttachedPictures) {
    const auto errorOf = [](const AVStream& stream) {
        try {
            FFmpegVideoDecoder decoder(stream);
        } catch (const FFmpegError& error) {
            return error.errorCase();
        }
        return FFmpegError::Case::eof;
    };
    const DemuxedStream clip(madeMJPEG("refused", "64x48", "yuvj420p"), AVMEDIA_TYPE_VIDEO);
    auto& stream = clip.stream();
    stream.disposition |= AV_DISPOSITION_ATTACHED_PIC;
    EXPECT_EQ(errorOf(stream), FFmpegError::Case::unsupportedMediaType);
    stream.disposition = 0;
    stream.codecpar->codec_type = AVMEDIA_TYPE_AUDIO;
    EXPECT_EQ(errorOf(stream), FFmpegError::Case::unsupportedMediaType);
    stream.codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
    stream.codecpar->codec_id = static_cast<AVCodecID>(0x7ffe);
    EXPECT_EQ(errorOf(stream), FFmpegError::Case::decoderNotFound);
}

TEST(VideoDecoder, continuesTimesFromTheLastDurationWhereAFrameHasNone) {
    const DemuxedStream clip(madeMJPEG("no_times", "64x48", "yuvj420p"), AVMEDIA_TYPE_VIDEO);
    NoHardware hardware;
    FFmpegVideoDecoder decoder(clip.stream(), hardware);
    ASSERT_TRUE(decoder.startDecoding(*clip.next()));
    ASSERT_EQ(decoder.dequeueSampleBuffer()->presentationTimeStamp(), kCMTimeZero);

    const auto withoutTime = [&] {
        ffmpeg::AVPacketHandle packet(av_packet_clone(&clip.next()->avPacket()));
        packet->pts = packet->dts = AV_NOPTS_VALUE;
        return std::make_shared<const Packet>(std::move(packet));
    };
    ASSERT_TRUE(decoder.startDecoding(*withoutTime()));
    EXPECT_EQ(decoder.dequeueSampleBuffer()->presentationTimeStamp(), CMTime(1, 25));

    decoder.flush();
    ASSERT_TRUE(decoder.startDecoding(*withoutTime()));
    try {
        decoder.dequeueSampleBuffer();
        FAIL() << "a time came from nowhere";
    } catch (const FFmpegError& error) {
        EXPECT_EQ(error.errorCase(), FFmpegError::Case::noPresentationTimestamp);
    }
}

TEST(VideoDecoder, followsSizeFormatAndRangeThatChangeInMidStream) {
    const DemuxedStream first(madeMJPEG("change_1", "64x48", "yuvj420p"), AVMEDIA_TYPE_VIDEO);
    NoHardware hardware;
    FFmpegVideoDecoder decoder(first.stream(), hardware);
    ASSERT_TRUE(decoder.startDecoding(*first.next()));
    const auto before = decoder.dequeueSampleBuffer();
    EXPECT_EQ(before->imageBuffer()->width(), 64);

    struct Row {
        std::string size;
        std::string codedFormat;
        std::string range;
        OSType expected;
        std::string matrix;
    };
    int index = 2;
    for (const auto& row : {
             Row{"97x33", "yuvj422p", "pc", kCVPixelFormatType_422YpCbCr8FullRange, "ITU_R_601_4"},
             Row{"16x16", "yuvj444p", "pc", kCVPixelFormatType_422YpCbCr8FullRange, "ITU_R_601_4"},
             Row{"64x48", "yuvj420p", "pc", kCVPixelFormatType_420YpCbCr8PlanarFullRange,
                 "ITU_R_601_4"},
             Row{"1600x16", "yuv420p", "tv", kCVPixelFormatType_420YpCbCr8Planar, "ITU_R_601_4"},
         }) {
        const DemuxedStream next(
            madeMJPEG("change_" + std::to_string(index++), row.size, row.codedFormat, row.range),
            AVMEDIA_TYPE_VIDEO);
        ASSERT_TRUE(decoder.startDecoding(*next.next()));
        const auto picture = decoder.dequeueSampleBuffer()->imageBuffer();
        EXPECT_EQ(fmt::format("{}x{}", picture->width(), picture->height()), row.size);
        EXPECT_EQ(picture->pixelFormat(), row.expected);
        EXPECT_EQ(attachmentText(*picture, kCVImageBufferYCbCrMatrixKey), row.matrix);
    }
}

TEST(VideoDecoder, givesBGRAInPlaceOfBiplanarEightBitPictures) {
    const DemuxedStream clip(
        madeClip("video_nv12.nut",
                 {"-f", "lavfi", "-i", "color=c=0x4080c0:s=64x48:r=5:d=1", "-vf",
                  "format=rgb24,scale=out_color_matrix=bt709:out_range=tv,format=nv12", "-c:v",
                  "rawvideo"}),
        AVMEDIA_TYPE_VIDEO);
    auto& parameters = *clip.stream().codecpar;
    parameters.color_space = AVCOL_SPC_BT709;
    parameters.color_primaries = AVCOL_PRI_BT709;
    parameters.color_trc = AVCOL_TRC_BT709;
    NoHardware hardware;
    FFmpegVideoDecoder decoder(clip.stream(), hardware);
    int frames = 0;
    decodeClip(clip, decoder, [&](const CMSampleBufferRef& buffer) {
        const auto& picture = *buffer->imageBuffer();
        ++frames;
        ASSERT_EQ(picture.pixelFormat(), kCVPixelFormatType_32BGRA);
        EXPECT_EQ(attachmentText(picture, kCVImageBufferColorPrimariesKey), "ITU_R_709_2");
        const auto* pixel = picture.plane(0).baseAddress;
        EXPECT_NEAR(pixel[0], 0xc0, 2);
        EXPECT_NEAR(pixel[1], 0x80, 2);
        EXPECT_NEAR(pixel[2], 0x40, 2);
        EXPECT_EQ(pixel[3], 0xff);
    });
    EXPECT_EQ(frames, 5);
}

TEST(VideoDecoder, survivesCorruptPackets) {
    const auto clip =
        madeClip("video_corrupt.mkv", {"-f", "lavfi", "-i", "testsrc2=r=30:d=4:s=128x96", "-c:v",
                                       "libx264", "-preset", "ultrafast", "-g", "15"});
    const LogCapture log;
    std::minstd_rand random(11);
    for (int round = 0; round < 4; ++round) {
        const DemuxedStream file(clip, AVMEDIA_TYPE_VIDEO);
        NoHardware hardware;
        FFmpegVideoDecoder decoder(file.stream(), hardware);
        int frames = 0;
        CoreMediaCompatibleDecodeSession session(decoder, [&](const CMSampleBufferRef& buffer) {
            frames += visibleBytes(*buffer->imageBuffer()).empty() ? 0 : 1;
        });
        while (const auto packet = file.next()) {
            ffmpeg::AVPacketHandle copy(av_packet_clone(&packet->avPacket()));
            ASSERT_GE(av_packet_make_writable(copy.get()), 0);
            for (int i = 0; i < 3 && random() % 2 == 0; ++i) {
                copy->data[random() % copy->size] ^= static_cast<std::uint8_t>(random());
            }
            try {
                session.decode(std::make_shared<const Packet>(std::move(copy)));
            } catch (const FFmpegError&) {
            }
        }
        session.finish();
        EXPECT_GT(frames, 60);
    }
}

TEST(VideoDecoderHardware, isOneLogLineAndSoftwareWhereThereIsNone) {
    const DemuxedStream clip(madeMJPEG("no_hardware", "64x48", "yuvj420p"), AVMEDIA_TYPE_VIDEO);
    int attempts = 0;
    SystemVideoDecodingHardware hardware([&](AVHWDeviceType type, AVBufferRef*&) {
        const bool mustRetry = ++attempts == 1;
        return mustRetry ? AVERROR(EAGAIN)
                         : AVERROR(type == AV_HWDEVICE_TYPE_CUDA ? EPERM : ENODEV);
    });
    const LogCapture log;
    const FFmpegVideoDecoder first(clip.stream(), hardware);
    FFmpegVideoDecoder decoder(clip.stream(), hardware);
    EXPECT_EQ(log.lines(), (std::vector<std::string>{
                               "No hardware decoder: VAAPI: No such device, CUDA: Operation not "
                               "permitted, VDPAU: No such device"}));
    EXPECT_EQ(attempts, 4);
    EXPECT_FALSE(decoder.isUsingHardwareContext());
    for (int i = 0; i < 20; ++i) {
        EXPECT_FALSE(feeds(decoder, garbage()));
    }
    EXPECT_EQ(decoder.failedHardwareDecodeCount(), 0);
    EXPECT_EQ(log.count("Too many hardware decode errors"), 0U);
}

TEST(VideoDecoderHardware, isGivenUpForGoodAfterElevenFailuresInARow) {
    const DemuxedStream clip(madeMJPEG("eleven", "64x48", "yuvj420p"), AVMEDIA_TYPE_VIDEO);
    IdleHardware hardware(AV_HWDEVICE_TYPE_DRM);
    FFmpegVideoDecoder decoder(clip.stream(), hardware);
    const LogCapture log;
    const auto fail = [&](int count) {
        for (int i = 0; i < count; ++i) {
            EXPECT_FALSE(feeds(decoder, garbage()));
        }
    };
    fail(10);
    EXPECT_TRUE(feeds(decoder, clip.next()));
    EXPECT_EQ(decoder.failedHardwareDecodeCount(), 0);
    fail(10);
    EXPECT_TRUE(decoder.isUsingHardwareContext());
    EXPECT_EQ(log.count("Too many"), 0U);
    fail(1);
    EXPECT_FALSE(decoder.isUsingHardwareContext());
    EXPECT_EQ(log.count("Too many hardware decode errors; falling back to software decoder."), 1U);
    EXPECT_TRUE(feeds(decoder, clip.next()));
    fail(12);
    EXPECT_FALSE(decoder.isUsingHardwareContext());
    EXPECT_EQ(log.count("Too many"), 1U);
}

TEST(VideoDecoderHardware, decodesInMemoryOnItsContextWhereTheDeviceCannot) {
    const auto clip =
        madeClip("video_idle_device.mkv", {"-f", "lavfi", "-i", "testsrc2=r=30:d=1:s=128x96",
                                           "-c:v", "libx264", "-preset", "ultrafast"});
    for (const auto type : {AV_HWDEVICE_TYPE_DRM, AV_HWDEVICE_TYPE_VAAPI}) {
        const DemuxedStream file(clip, AVMEDIA_TYPE_VIDEO);
        IdleHardware hardware(type);
        FFmpegVideoDecoder decoder(file.stream(), hardware);
        int frames = 0;
        EXPECT_EQ(decodeClip(file, decoder,
                             [&](const CMSampleBufferRef& buffer) {
                                 ++frames;
                                 EXPECT_EQ(buffer->imageBuffer()->pixelFormat(),
                                           kCVPixelFormatType_420YpCbCr8Planar);
                             }),
                  0);
        EXPECT_EQ(frames, 30);
        EXPECT_TRUE(decoder.isUsingHardwareContext());
        EXPECT_EQ(decoder.decoderContext().extra_hw_frames, kDeviceFramesHeldByPlayer);
    }
}

TEST(VideoFramePackaging, keepsAFrameOnItsDevice) {
    const DemuxedStream clip(madeMJPEG("on_device", "64x48", "yuvj420p"), AVMEDIA_TYPE_VIDEO);
    ffmpeg::CodecContext context(avcodec_alloc_context3(nullptr));
    ASSERT_GE(avcodec_parameters_to_context(context.get(), clip.stream().codecpar), 0);
    VideoFramePackager packager(*context, clip.stream());

    const ffmpeg::BufferRef device(av_hwdevice_ctx_alloc(AV_HWDEVICE_TYPE_VAAPI));
    ffmpeg::Frame frame(av_frame_alloc());
    frame->hw_frames_ctx = av_hwframe_ctx_alloc(device.get());
    auto* frames = reinterpret_cast<AVHWFramesContext*>(frame->hw_frames_ctx->data);
    frames->sw_format = AV_PIX_FMT_P010LE;
    frame->format = AV_PIX_FMT_VAAPI;
    frame->width = 1920;
    frame->height = 1080;
    frame->sample_aspect_ratio = {4, 3};
    frame->buf[0] = av_buffer_alloc(1);
    frame->data[3] = frame->buf[0]->data;
    ASSERT_TRUE(isHardwareFrame(*frame));

    const auto pixelBuffer = packager.package(*frame);
    ASSERT_NE(pixelBuffer->deviceFrame(), nullptr);
    EXPECT_EQ(pixelBuffer->deviceFrame()->data[3], frame->data[3]);
    EXPECT_EQ(pixelBuffer->pixelFormat(), kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange);
    EXPECT_EQ(*pixelBuffer->attachment<PixelAspectRatio>(kCVImageBufferPixelAspectRatioKey),
              (PixelAspectRatio{4, 3}));
    EXPECT_EQ(attachmentText(*pixelBuffer, kCVImageBufferYCbCrMatrixKey), "ITU_R_709_2");
}

TEST(HDRClips, carryProfileMasteringDisplayAndLightLevel) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    const auto buffers = decodeClip(media / "hdr" / "gen_hevc_hdr10_mdcv_cll.mkv");
    ASSERT_EQ(buffers.size(), 24U);
    for (const auto& buffer : buffers) {
        const auto& picture = *buffer->imageBuffer();
        EXPECT_EQ(picture.pixelFormat(), kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange);
        EXPECT_EQ(attachmentText(picture, kCVImageBufferTransferFunctionKey), "SMPTE_ST_2084_PQ");
        EXPECT_EQ((*picture.attachment<CGColorSpaceRef>(kCVImageBufferCGColorSpaceKey))->name(),
                  "Rec. ITU-R BT.2020; SMPTE ST 2084 PQ");
        EXPECT_THAT(*picture.attachment<Bytes>(kCVImageBufferMasteringDisplayColorVolumeKey),
                    testing::ElementsAre(0x33, 0xc2, 0x86, 0xc4, 0x1d, 0x4c, 0x0b, 0xb8, 0x84, 0xd0,
                                         0x3e, 0x80, 0x3d, 0x13, 0x40, 0x42, 0x02, 0x62, 0x5a, 0x00,
                                         0x00, 0x00, 0x00, 0x32));
        EXPECT_THAT(*picture.attachment<Bytes>(kCVImageBufferContentLightLevelInfoKey),
                    testing::ElementsAre(0x0f, 0xa0, 0x04, 0xb0));
    }
}

TEST(HDRClips, aFramesOwnMetadataStandOverTheStreamsUntilTheNext) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    const DemuxedStream clip(media / "hdr" / "androidx_sample_with_colr_mdcv_and_clli.mp4",
                             AVMEDIA_TYPE_VIDEO);
    ffmpeg::CodecContext context(avcodec_alloc_context3(nullptr));
    ASSERT_GE(avcodec_parameters_to_context(context.get(), clip.stream().codecpar), 0);
    VideoFramePackager packager(*context, clip.stream());
    ffmpeg::Frame frame(av_frame_alloc());
    frame->format = AV_PIX_FMT_YUV420P10LE;
    frame->width = 320;
    frame->height = 180;
    ASSERT_GE(av_frame_get_buffer(frame.get(), 0), 0);
    const auto lightLevel = [&] {
        return *packager.package(*frame)->attachment<Bytes>(kCVImageBufferContentLightLevelInfoKey);
    };
    EXPECT_THAT(lightLevel(), testing::ElementsAre(0x04, 0x4c, 0x00, 0xb4));
    auto* ofFrame = av_content_light_metadata_create_side_data(frame.get());
    ofFrame->MaxCLL = 258;
    ofFrame->MaxFALL = 1;
    EXPECT_THAT(lightLevel(), testing::ElementsAre(1, 2, 0, 1));
    av_frame_remove_side_data(frame.get(), AV_FRAME_DATA_CONTENT_LIGHT_LEVEL);
    EXPECT_THAT(lightLevel(), testing::ElementsAre(1, 2, 0, 1));
}

TEST(HDRClips, damagedMetadataIsDroppedWithOneLogLine) {
    const DemuxedStream clip(madeMJPEG("hdr_damaged", "64x48", "yuvj420p"), AVMEDIA_TYPE_VIDEO);
    const ffmpeg::CodecContext context(avcodec_alloc_context3(nullptr));
    ASSERT_GE(avcodec_parameters_to_context(context.get(), clip.stream().codecpar), 0);
    VideoFramePackager packager(*context, clip.stream());
    const ffmpeg::Frame frame(av_frame_alloc());
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = frame->height = 16;
    ASSERT_GE(av_frame_get_buffer(frame.get(), 0), 0);
    auto* display = av_mastering_display_metadata_create_side_data(frame.get());
    display->has_primaries = 1; // of 0 / 0 each
    av_content_light_metadata_create_side_data(frame.get())->MaxCLL = 65536;
    const LogCapture log;
    for (int i = 0; i < 2; ++i) {
        const auto picture = packager.package(*frame);
        EXPECT_FALSE(picture->hasAttachment(kCVImageBufferMasteringDisplayColorVolumeKey));
        EXPECT_FALSE(picture->hasAttachment(kCVImageBufferContentLightLevelInfoKey));
    }
    EXPECT_EQ(log.count("Ignoring HDR metadata that is out of range."), 1U);
}

TEST(SharedClips, decodeIntoTheirFormats) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    struct Row {
        std::string file;
        std::size_t frames;
        std::string pixelFormat;
        std::string primaries;
    };
    for (const auto& row : {
             Row{"codecs/androidx_bear-vp9-odd-dimensions.webm", 30, "y420", "SMPTE_C"},
             Row{"codecs/torchcodec_bt709_full_range.mp4", 30, "f420", "ITU_R_709_2"},
             Row{"codecs/gen_hevc_main12_422.mkv", 10, "x420", "SMPTE_C"},
             Row{"codecs/gen_prores4444_alpha.mov", 10, "x420", "SMPTE_C"},
             Row{"codecs/gen_huffyuv.avi", 10, "2vuy", "SMPTE_C"},
             Row{"codecs/fate_svq1_ct_ending_cut.mov", 20, "2vuy", "SMPTE_C"},
             Row{"codecs/gen_qtrle_alpha.mov", 10, "0x00000020", "P22"},
             Row{"codecs/fate_pcitva15.avi", 152, "0x00000018", "P22"},
             Row{"codecs/gen_ffv1_gbrp10.mkv", 5, "BGRA", "P22"},
             Row{"codecs/mp4ff_av1.ivf", 25, "y420", "SMPTE_C"},
             Row{"hdr/androidx_sample_gamma2.2.mp4", 60, "f420", "ITU_R_709_2"},
             Row{"hdr/libavif_colors_hdr_rec2020.avif", 1, "xf20", "ITU_R_2020"},
         }) {
        const auto buffers = decodeClip(media / row.file);
        ASSERT_EQ(buffers.size(), row.frames) << row.file;
        const auto& picture = *buffers.back()->imageBuffer();
        EXPECT_EQ(fourCharCodeText(picture.pixelFormat()), row.pixelFormat) << row.file;
        EXPECT_EQ(attachmentText(picture, kCVImageBufferColorPrimariesKey), row.primaries)
            << row.file;
    }
}

} // namespace
} // namespace zelvane::test
