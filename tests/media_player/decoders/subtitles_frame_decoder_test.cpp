// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core_media/ffmpeg_pixel_buffer.h"
#include "media_player/decoders/subtitles/ass_stock_form.h"
#include "media_player/decoders/subtitles/ffmpeg_subtitles_frame_decoder.h"
#include "tests/media_player/decoders/demuxed_stream.h"
#include "tests/media_player/decoders/fake_text_styling.h"
#include "tests/support/clips.h"
#include "tests/support/log_capture.h"

namespace zelvane {
namespace {

using test::DemuxedStream;
using test::LogCapture;

/// A packet of these bytes.
Packet packetOf(std::string_view bytes, std::int64_t pts, std::int64_t duration) {
    ffmpeg::AVPacketHandle packet(av_packet_alloc());
    av_new_packet(packet.get(), static_cast<int>(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), packet->data);
    packet->pts = pts;
    packet->duration = duration;
    return Packet(std::move(packet));
}

/// A stream of subtitles without a file.
class BareStream {
  public:
    explicit BareStream(AVCodecID codecID, AVRational timeBase = {1, 1000})
        : context_(avformat_alloc_context()),
          stream_(avformat_new_stream(context_.get(), nullptr)) {
        stream_->time_base = timeBase;
        stream_->codecpar->codec_type = AVMEDIA_TYPE_SUBTITLE;
        stream_->codecpar->codec_id = codecID;
    }

    AVStream& stream() { return *stream_; }

    void setHeader(std::string_view header) {
        auto& parameters = *stream_->codecpar;
        parameters.extradata =
            static_cast<std::uint8_t*>(av_mallocz(header.size() + AV_INPUT_BUFFER_PADDING_SIZE));
        std::copy(header.begin(), header.end(), parameters.extradata);
        parameters.extradata_size = static_cast<int>(header.size());
    }

  private:
    std::unique_ptr<AVFormatContext, Release<avformat_free_context>> context_;
    AVStream* stream_;
};

/// The case of the FFmpegError that `call` throws.
template <class Call>
std::optional<FFmpegError> thrownBy(const Call& call) {
    try {
        call();
    } catch (const FFmpegError& error) {
        return error;
    }
    return std::nullopt;
}

TEST(SubtitlesFrameDecoder, timesComeFromThePacketInItsStreamsUnits) {
    BareStream source(AV_CODEC_ID_SUBRIP, {1, 90000});
    FFmpegSubtitlesFrameDecoder decoder(source.stream());
    const auto timed = decoder.decode(packetOf("Hi <b>you</b>", 90000, 225000));
    ASSERT_EQ(timed.size(), 1U);
    EXPECT_EQ(plainText(timed[0]->subtitles), "Hi you");
    EXPECT_EQ(timed[0]->startTime, CMTime(1, 1));
    EXPECT_EQ(timed[0]->endTime, CMTime(7, 2));

    const auto endless = decoder.dequeueFrame(packetOf("Stays", 90000, 0));
    ASSERT_NE(endless, nullptr);
    EXPECT_EQ(endless->endTime, endless->startTime);

    EXPECT_THROW(decoder.dequeueFrame(packetOf("Backwards", 90000, -90000)), SubtitlesTimeError);
    EXPECT_TRUE(decoder.decode(Packet()).empty());
    const auto timeless = decoder.dequeueFrame(packetOf("When?", AV_NOPTS_VALUE, 90000));
    ASSERT_NE(timeless, nullptr);
    EXPECT_LT(timeless->startTime, CMTime(-1000000000, 1));
    EXPECT_LE(timeless->startTime, timeless->endTime);
}

TEST(SubtitlesFrameDecoder, aFlushedDecoderContinues) {
    BareStream source(AV_CODEC_ID_SUBRIP);
    FFmpegSubtitlesFrameDecoder decoder(source.stream());
    const auto before = decoder.dequeueFrame(packetOf("Hi", 0, 1000));
    decoder.flush();
    const auto after = decoder.dequeueFrame(packetOf("Hi", 0, 1000));
    EXPECT_EQ(plainText(before->subtitles), "Hi");
    EXPECT_EQ(plainText(after->subtitles), "Hi");
}

TEST(SubtitlesFrameDecoder, refusesWhatItCannotDecode) {
    const auto madeFor = [](AVCodecID codecID, AVMediaType mediaType) {
        BareStream source(codecID);
        source.stream().codecpar->codec_type = mediaType;
        return thrownBy([&] { const FFmpegSubtitlesFrameDecoder decoder(source.stream()); });
    };
    EXPECT_EQ(madeFor(AV_CODEC_ID_TTML, AVMEDIA_TYPE_SUBTITLE),
              FFmpegError::decoderNotFound(AV_CODEC_ID_TTML));
    EXPECT_EQ(madeFor(AV_CODEC_ID_SUBRIP, AVMEDIA_TYPE_DATA),
              FFmpegError::simple(FFmpegError::Case::unsupportedMediaType));
}

std::uint8_t reversedBits(unsigned byte) {
    unsigned reversed = 0;
    for (int bit = 0; bit < 8; ++bit) {
        reversed |= (byte >> bit & 1U) << (7 - bit);
    }
    return static_cast<std::uint8_t>(reversed);
}

/// One line of teletext as a data unit of DVB (EN 300 472): `codes` are protected by Hamming 8/4,
/// `text` by odd parity.
std::string teletextLine(unsigned magazine, unsigned row, std::vector<unsigned> codes,
                         std::string text) {
    constexpr std::array<std::uint8_t, 16> kHamming{0x15, 0x02, 0x49, 0x5e, 0x64, 0x73, 0x38, 0x2f,
                                                    0xd0, 0xc7, 0x8c, 0x9b, 0xa1, 0xb6, 0xfd, 0xea};
    codes.insert(codes.begin(), {magazine % 8 | (row & 1U) << 3U, row >> 1U});
    text.resize(42 - codes.size(), ' ');
    std::string unit{3, 44, static_cast<char>(0xe7), static_cast<char>(0xe4)};
    for (const unsigned code : codes) {
        unit += static_cast<char>(reversedBits(kHamming.at(code)));
    }
    for (const char c : text) {
        const unsigned letter = static_cast<unsigned char>(c);
        const unsigned parity = __builtin_popcount(letter) % 2 == 0 ? 0x80 : 0;
        unit += static_cast<char>(reversedBits(letter | parity));
    }
    return unit;
}

/// A packet with page 888, which is marked as subtitles, and the start of the next page. Its size
/// is that of a PES packet that fills a transport packet.
Packet teletextPage(const std::string& line) {
    const auto header = [](unsigned page) {
        // Erase the page (C4), subtitles (C6), no header (C7).
        return teletextLine(8, 0, {page % 16, page / 16, 0, 8, 0, 8, 1, 0}, "");
    };
    const std::string row = teletextLine(8, 22, {}, "\x0b\x0b" + line + "\x0a\x0a");
    const std::string stuffing = "\xff\x2c" + std::string(44, '\xff');
    return packetOf("\x10" + header(0x88) + (line.empty() ? stuffing : row) + header(0xff), 1000,
                    0);
}

TEST(SubtitlesFrameDecoder, aPageOfTeletextSubtitlesReplacesThePageBefore) {
    BareStream source(AV_CODEC_ID_DVB_TELETEXT);
    FFmpegSubtitlesFrameDecoder decoder(source.stream());
    for (const char* line : {"Hello", "you"}) {
        const auto frames = decoder.decode(teletextPage(line));
        ASSERT_EQ(frames.size(), 2U) << line;
        EXPECT_TRUE(std::holds_alternative<ClearPreviousSubtitles>(frames[0]->subtitles));
        EXPECT_LT(frames[0]->startTime, frames[1]->startTime);
        EXPECT_EQ(frames[1]->startTime, CMTime(1, 1));
        EXPECT_EQ(plainText(frames[1]->subtitles), line);
    }
    const auto frames = decoder.decode(teletextPage(""));
    ASSERT_EQ(frames.size(), 1U);
    EXPECT_TRUE(std::holds_alternative<ClearPreviousSubtitles>(frames[0]->subtitles));
}

TEST(SubtitlesFrameDecoder, aScriptWithoutAHeaderHasTheUsualOne) {
    BareStream source(AV_CODEC_ID_ASS);
    const auto styling = std::make_shared<test::FakeTextStyling>();
    FFmpegSubtitlesFrameDecoder decoder(source.stream(), styling);
    const auto frame = decoder.dequeueFrame(packetOf("0,0,Default,,0,0,0,,{\\i1}Hi", 0, 1000));
    ASSERT_NE(frame, nullptr);
    const auto& line = std::get<std::vector<FormattedTextSubtitle>>(frame->subtitles).at(0);
    EXPECT_EQ(line.formattedText->text(), "Hi");
    EXPECT_EQ(line.style.scalingInfo.initialBaseFontSize, 16);
}

TEST(SubtitlesFrameDecoder, onlyScriptFilesMayReorderColumns) {
    const std::string header = "[Events]\nFormat: Layer, Start, End, Text\n";
    struct Case {
        AVRational timeBase;
        const char* text;
    };
    for (const auto& [timeBase, text] :
         std::vector<Case>{{{1, 100}, "Default,,0,0,0,,Hi"}, {{1, 1000}, "Hi"}}) {
        BareStream source(AV_CODEC_ID_ASS, timeBase);
        source.setHeader(header);
        FFmpegSubtitlesFrameDecoder decoder(source.stream());
        const auto frame = decoder.dequeueFrame(packetOf("0,0,Default,,0,0,0,,Hi", 0, 100));
        ASSERT_NE(frame, nullptr);
        EXPECT_EQ(plainText(frame->subtitles), text);
    }
}

TEST(SubtitlesFrameDecoder, aMalformedLineLosesOnlyItsFrame) {
    const LogCapture log;
    BareStream source(AV_CODEC_ID_ASS);
    FFmpegSubtitlesFrameDecoder decoder(source.stream());
    EXPECT_EQ(
        thrownBy([&] { decoder.dequeueFrame(packetOf("0,0,Default,,0,0,0,,{\\b1", 0, 1000)); }),
        FFmpegError::fromStatus(AVERROR_INVALIDDATA));
    EXPECT_THROW(decoder.dequeueFrame(packetOf("no event", 0, 1000)), ASSDecodingError);
    EXPECT_NE(decoder.dequeueFrame(packetOf("0,0,Default,,0,0,0,,x", 0, 1000)), nullptr);
}

TEST(SubtitlesFrameDecoder, onlyKnownEncodingsOfTextLinesAreUsed) {
    const LogCapture log;
    BareStream source(AV_CODEC_ID_SUBRIP);
    FFmpegSubtitlesFrameDecoder decoder(source.stream());
    const auto decoded = [&] {
        return plainText(decoder.dequeueFrame(packetOf("\xc4\xe0", 0, 1000))->subtitles);
    };
    EXPECT_EQ(decoder.decoderContext().sub_charenc, nullptr);
    EXPECT_ANY_THROW(decoded());
    decoder.setCharacterEncoding("CP1251");
    EXPECT_EQ(decoder.characterEncoding(), "CP1251");
    EXPECT_EQ(decoded(), "Да");
    decoder.setCharacterEncoding("ISO-8859-1");
    EXPECT_EQ(decoded(), "Äà");
    for (const std::optional<std::string>& none :
         std::vector<std::optional<std::string>>{"NO-SUCH-ENCODING", "CP1251", std::nullopt}) {
        decoder.setCharacterEncoding(none);
        const bool isKnown = none == "CP1251";
        EXPECT_EQ(decoder.decoderContext().sub_charenc_mode,
                  isKnown ? FF_SUB_CHARENC_MODE_PRE_DECODER : FF_SUB_CHARENC_MODE_DO_NOTHING);
    }
    EXPECT_EQ(decoder.decoderContext().sub_charenc, nullptr);

    for (const AVCodecID codecID : {AV_CODEC_ID_MOV_TEXT, AV_CODEC_ID_DVD_SUBTITLE}) {
        BareStream other(codecID);
        FFmpegSubtitlesFrameDecoder otherDecoder(other.stream());
        otherDecoder.setCharacterEncoding("CP1251");
        EXPECT_EQ(otherDecoder.characterEncoding(), std::nullopt);
    }
}

TEST(SubtitlesFrameDecoder, theHeaderOfAScriptIsInTheEncodingOfItsLines) {
    BareStream source(AV_CODEC_ID_ASS);
    // "Да", as CP1251 has it.
    source.setHeader("[V4+ Styles]\nFormat: Name, Fontsize, Alignment\nStyle: \xc4\xe0,33,2\n");
    FFmpegSubtitlesFrameDecoder decoder(source.stream());
    decoder.setCharacterEncoding("CP1251");
    const auto frame = decoder.dequeueFrame(packetOf("0,0,\xc4\xe0,,0,0,0,,\xc4\xe0", 0, 1000));
    ASSERT_NE(frame, nullptr);
    const auto& line = std::get<std::vector<FormattedTextSubtitle>>(frame->subtitles).at(0);
    EXPECT_EQ(line.formattedText->text(), "Да");
    EXPECT_EQ(line.style.scalingInfo.initialBaseFontSize, 33);
}

/// A picture of DVD, 4 × 2 pixels, shown and removed after so many units of 1024/90 ms.
std::string dvdPicture(char start, char end) {
    using namespace std::string_literals;
    // The size, the first sequence of commands, two rows, and the delay of that sequence.
    return "\x00\x2c\x00\x06\x11\x11\x00"s + start +
           // The next sequence; show, colours, opacities, an area from 0 to 3 and from 0 to 1, the
           // offsets of the rows.
           "\x00\x1e\x01\x03\x32\x10\x04\xff\xff\x05\x00\x00\x03\x00\x00\x01\x06\x00\x04\x00\x05"
           "\xff\x00"s +
           // Hide, in a last sequence.
           end + "\x00\x1e\x02\xff\x00\x00\x00\x00\x00\x00\x00\x00"s;
}

TEST(SubtitlesFrameDecoder, aPictureThatEndsBeforeItStartsIsLost) {
    BareStream source(AV_CODEC_ID_DVD_SUBTITLE);
    FFmpegSubtitlesFrameDecoder decoder(source.stream());
    const auto frame = decoder.dequeueFrame(packetOf(dvdPicture(0, 88), 10000, 0));
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(frame->startTime, CMTime(10, 1));
    EXPECT_EQ(frame->endTime, CMTime(11001, 1000));
    EXPECT_EQ(std::get<std::vector<ImageSubtitle>>(frame->subtitles).at(0).imageFrame,
              (CGRect{0, 0, 4, 2}));
    EXPECT_THROW(decoder.dequeueFrame(packetOf(dvdPicture(88, 1), 10000, 0)), SubtitlesTimeError);
}

TEST(SubtitlesFrameDecoder, picturesHaveTheSizeOfTheirFormatAndEmptyOnesClear) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    const DemuxedStream source(media / "subtitles" / "embedded" / "gen_pgs.m2ts",
                               AVMEDIA_TYPE_SUBTITLE);
    FFmpegSubtitlesFrameDecoder decoder(source.stream());
    std::vector<SubtitlesFrameRef> frames;
    for (const auto& packet : source.packets()) {
        if (const auto frame = decoder.dequeueFrame(*packet)) {
            frames.push_back(frame);
        }
    }
    ASSERT_EQ(frames.size(), 2U);
    EXPECT_TRUE(std::holds_alternative<ClearPreviousSubtitles>(frames[0]->subtitles));
    const auto& images = std::get<std::vector<ImageSubtitle>>(frames[1]->subtitles);
    ASSERT_EQ(images.size(), 2U);
    EXPECT_EQ(images[0].image->pixelFormat(), kCVPixelFormatType_32BGRA);
    EXPECT_EQ(images[0].image->width(), 777);
    EXPECT_EQ(images[0].imageFrame, (CGRect{571, 81, 777, 45}));
    ASSERT_TRUE(images[0].videoDimensions);
    EXPECT_EQ(images[0].videoDimensions->squarePixelSize, (CGSize{1920, 1080}));
    EXPECT_GT(frames[1]->endTime - frames[1]->startTime, CMTime(49LL * 24 * 3600, 1));
}

TEST(TextSubtitlesDecoder, joinsItsRectanglesByLineFeeds) {
    std::string a = "a";
    std::string b = "b <i>";
    std::array<AVSubtitleRect, 2> rectangles{};
    rectangles[0].type = rectangles[1].type = SUBTITLE_TEXT;
    rectangles[0].text = a.data();
    rectangles[1].text = b.data();
    const std::array<const AVSubtitleRect*, 2> all{&rectangles[0], &rectangles[1]};
    EXPECT_EQ(plainText(FFmpegTextSubtitlesDecoder().makeSubtitles(all)), "a\nb <i>");
    rectangles[1].type = SUBTITLE_ASS;
    EXPECT_ANY_THROW(FFmpegTextSubtitlesDecoder().makeSubtitles(all));
}

TEST(FormattedTextSubtitlesDecoder, keepsAFrameWholeOrNotAtAll) {
    const LogCapture log;
    FFmpegFormattedTextSubtitlesDecoder decoder(
        std::make_unique<ASSDecoder>(scriptHeader(kDefaultASSHeader, ASSEventColumns::usual),
                                     ASSHeaderOrigin::script, sharedSubtitleTextStyling()));
    std::string good = "0,0,Default,,0,0,0,,one, two";
    std::string bad = "0,0,Default,,0,0,0,,{\\b1";
    std::array<AVSubtitleRect, 2> rectangles{};
    rectangles[0].ass = rectangles[1].ass = good.data();
    const std::array<const AVSubtitleRect*, 2> all{&rectangles[0], &rectangles[1]};
    EXPECT_EQ(plainText(decoder.makeSubtitles(all)), "one, two\none, two");
    rectangles[1].ass = bad.data();
    EXPECT_TRUE(thrownBy([&] { decoder.makeSubtitles(all); }));
    rectangles[1].ass = nullptr;
    EXPECT_TRUE(thrownBy([&] { decoder.makeSubtitles(all); }));
}

/// A rectangle of two rows whose indices are 0, 1 and 200, with a palette of two colours.
struct PaletteImage {
    std::array<std::uint8_t, 8> indices{0, 1, 200, 9, 1, 0, 0, 9};
    std::array<std::uint32_t, 256> palette{0x80ff0000, 0xff00ff00};
    AVSubtitleRect rectangle{};

    PaletteImage() {
        palette[200] = 0xffffffff;
        rectangle.type = SUBTITLE_BITMAP;
        rectangle.w = 3;
        rectangle.h = 2;
        rectangle.nb_colors = 2;
        rectangle.data[0] = indices.data();
        rectangle.data[1] = reinterpret_cast<std::uint8_t*>(palette.data());
        rectangle.linesize[0] = 4;
    }
};

TEST(ImageSubtitlesDecoder, indicesOutsideThePaletteAreTransparent) {
    const PaletteImage source;
    const auto image = makeSubtitleImage(source.rectangle);
    std::vector<std::uint32_t> pixels;
    withPointersForFFmpeg(*image, [&](const FFmpegPointers& pointers) {
        EXPECT_EQ(pointers.linesize[0] % 16, 0);
        for (int i = 0; i < 6; ++i) {
            std::uint32_t pixel = 0;
            const int offset = i / 3 * pointers.linesize[0] + i % 3 * 4;
            std::memcpy(&pixel, pointers.data[0] + offset, sizeof pixel);
            pixels.push_back(pixel);
        }
    });
    EXPECT_EQ(pixels, (std::vector<std::uint32_t>{0x80ff0000, 0xff00ff00, 0, 0xff00ff00, 0x80ff0000,
                                                  0x80ff0000}));
}

TEST(ImageSubtitlesDecoder, refusesInvalidSizes) {
    const LogCapture log;
    PaletteImage empty;
    empty.rectangle.w = empty.rectangle.h = 0;
    EXPECT_EQ(thrownBy([&] { makeSubtitleImage(empty.rectangle); }),
              FFmpegError::simple(FFmpegError::Case::allocationFailure));
    EXPECT_EQ(log.count("sws_getContext failed."), 1U);

    PaletteImage huge;
    huge.rectangle.w = huge.rectangle.h = huge.rectangle.linesize[0] = 65535;
    PaletteImage narrow;
    narrow.rectangle.linesize[0] = 2;
    PaletteImage rowless;
    rowless.rectangle.data[0] = nullptr;
    for (const auto& source : {huge, narrow, rowless}) {
        EXPECT_THROW(makeSubtitleImage(source.rectangle), SystemError);
    }
}

} // namespace
} // namespace zelvane
