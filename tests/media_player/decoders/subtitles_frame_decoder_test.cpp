// SPDX-License-Identifier: GPL-3.0-or-later
#include <fstream>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "media_player/decoders/subtitles/ass_dialogue_text.h"
#include "media_player/decoders/subtitles/ffmpeg_subtitles_frame_decoder.h"
#include "tests/media_player/decoders/demuxed_stream.h"
#include "tests/support/clips.h"
#include "tests/support/log_capture.h"

namespace zelvane {
namespace {

namespace fs = std::filesystem;
using test::DemuxedStream;
using test::LogCapture;

TEST(ASSDialogueText, isWhatAPersonReads) {
    struct Case {
        std::string dialogue;
        std::string text;
    };
    const std::string manyOpen(200000, '{');
    const std::vector<Case> cases{
        {"0,0,Default,,0,0,0,,Hello", "Hello"},
        {"12,3,Sign,Bob,10,20,30,fade,One, two, three", "One, two, three"},
        {R"(0,0,Default,,0,0,0,,{\i1}slanted{\i0} and {\an8\fs20}high)", "slanted and high"},
        {R"(0,0,Default,,0,0,0,,first\Nsecond\nthird)", "first\nsecond\nthird"},
        {R"(0,0,Default,,0,0,0,,no\hbreak)", "no\u00a0break"},
        {R"(0,0,Default,,0,0,0,,C:\dir\)", R"(C:\dir\)"},
        {"0,0,Default,,0,0,0,,open {brace", "open {brace"},
        {"0,0,Default,,0,0,0,,closed} {gone}brace", "closed} brace"},
        {"0,0,Default,,0,0,0,,ends\r\n", "ends"},
        {"0,0,Default,,0,0,0,,", ""},
        {"0,0,Default,,0,0,0", ""},
        {"", ""},
        {"0,0,Default,,0,0,0,," + manyOpen, manyOpen},
    };
    for (const auto& [dialogue, text] : cases) {
        EXPECT_EQ(plainTextOfASSDialogue(dialogue), text) << dialogue.substr(0, 80);
    }
}

std::vector<SubtitlesFrameRef> decodeAll(const DemuxedStream& stream) {
    FFmpegSubtitlesFrameDecoder decoder(stream.stream());
    std::vector<SubtitlesFrameRef> frames;
    auto packets = stream.packets();
    packets.push_back(std::make_shared<const Packet>());
    for (const auto& packet : packets) {
        const auto decoded = decoder.decode(*packet);
        frames.insert(frames.end(), decoded.begin(), decoded.end());
    }
    return frames;
}

std::string srtTime(const CMTime& time) {
    const auto total = time.convertScale(1000, CMTimeRoundingMethod::roundTowardZero).value();
    return fmt::format("{:02}:{:02}:{:02},{:03}", total / 3600000, total / 60000 % 60,
                       total / 1000 % 60, total % 1000);
}

std::string asSRT(const std::vector<SubtitlesFrameRef>& frames) {
    std::string srt;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        srt += fmt::format("{}\n{} --> {}\n{}\n\n", i + 1, srtTime(frames[i]->startTime),
                           srtTime(frames[i]->endTime), plainText(frames[i]->subtitles));
    }
    return srt;
}

/// The first subtitles stream as ffmpeg itself writes it without markup.
std::string srtByFFmpeg(const fs::path& clip) {
    const auto made = test::madeClip(
        clip.filename().string() + ".plain.srt",
        {"-copyts", "-i", clip.string(), "-map", "0:s:0", "-c:s", "text", "-f", "srt"});
    std::ifstream stream(made);
    std::string srt{std::istreambuf_iterator<char>(stream), {}};
    std::erase(srt, '\r');
    return srt;
}

TEST(SubtitlesFrameDecoder, givesTheTextsAndTimesThatFFmpegGives) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    for (const char* name : {"sides/ArtPlayer_subtitle.srt", "sides/ArtPlayer_subtitle.jp.srt",
                             "embedded/gen_webvtt.webm", "embedded/gen_ass_srt_mixed.mkv",
                             "embedded/subtitleedit_sample_MP4.mp4",
                             "embedded/androidx_sample_with_overlapping_srt.mkv"}) {
        const auto clip = media / "subtitles" / name;
        EXPECT_EQ(asSRT(decodeAll(DemuxedStream(clip, AVMEDIA_TYPE_SUBTITLE))), srtByFFmpeg(clip))
            << name;
    }
}

TEST(SubtitlesFrameDecoder, picturesGiveNoText) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    for (const char* name : {"gen_pgs.m2ts", "gen_dvdsub.mkv", "fate_dvbsubtest_filter.ts"}) {
        const DemuxedStream stream(media / "subtitles" / "embedded" / name, AVMEDIA_TYPE_SUBTITLE);
        EXPECT_TRUE(decodeAll(stream).empty()) << name;
    }
}

TEST(SubtitlesFrameDecoder, aFlushedDecoderGoesOn) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    const DemuxedStream stream(media / "subtitles" / "embedded" / "gen_ass_srt_mixed.mkv",
                               AVMEDIA_TYPE_SUBTITLE);
    FFmpegSubtitlesFrameDecoder decoder(stream.stream());
    const auto packets = stream.packets();
    ASSERT_GE(packets.size(), 2U);
    const auto before = decoder.decode(*packets[0]);
    decoder.flush();
    const auto after = decoder.decode(*packets[0]);
    ASSERT_EQ(before.size(), 1U);
    ASSERT_EQ(after.size(), 1U);
    EXPECT_EQ(plainText(before[0]->subtitles), plainText(after[0]->subtitles));
}

/// A stream of SubRip without a file.
class SubRipStream {
  public:
    explicit SubRipStream(AVRational timeBase) : context_(avformat_alloc_context()) {
        stream_ = avformat_new_stream(context_.get(), nullptr);
        stream_->time_base = timeBase;
        stream_->codecpar->codec_type = AVMEDIA_TYPE_SUBTITLE;
        stream_->codecpar->codec_id = AV_CODEC_ID_SUBRIP;
    }

    AVStream& stream() { return *stream_; }

    static Packet packet(const std::string& text, std::int64_t pts, std::int64_t duration) {
        ffmpeg::AVPacketHandle packet(av_packet_alloc());
        av_new_packet(packet.get(), static_cast<int>(text.size()));
        std::copy(text.begin(), text.end(), packet->data);
        packet->pts = pts;
        packet->duration = duration;
        return Packet(std::move(packet));
    }

  private:
    std::unique_ptr<AVFormatContext, ffmpeg::FreeObject<avformat_free_context>> context_;
    AVStream* stream_ = nullptr;
};

TEST(SubtitlesFrameDecoder, timesComeFromThePacketInItsStreamsUnits) {
    SubRipStream source({1, 90000});
    FFmpegSubtitlesFrameDecoder decoder(source.stream());
    const auto timed = decoder.decode(SubRipStream::packet("Hi <b>you</b>", 90000, 225000));
    ASSERT_EQ(timed.size(), 1U);
    EXPECT_EQ(plainText(timed[0]->subtitles), "Hi you");
    EXPECT_EQ(timed[0]->startTime, CMTime(1, 1));
    EXPECT_EQ(timed[0]->endTime, CMTime(7, 2));

    const auto endless = decoder.decode(SubRipStream::packet("Stays", 90000, 0));
    ASSERT_EQ(endless.size(), 1U);
    EXPECT_EQ(endless[0]->endTime, kCMTimePositiveInfinity);

    EXPECT_TRUE(decoder.decode(SubRipStream::packet("{\\an8}", 0, 90000)).empty());
}

TEST(SubtitlesFrameDecoder, textWithoutATimeFails) {
    const LogCapture log;
    SubRipStream source({1, 1000});
    FFmpegSubtitlesFrameDecoder decoder(source.stream());
    try {
        decoder.decode(SubRipStream::packet("When?", AV_NOPTS_VALUE, 1000));
        ADD_FAILURE() << "a frame without a time came out";
    } catch (const FFmpegError& error) {
        EXPECT_EQ(error, FFmpegError::simple(FFmpegError::Case::noPresentationTimestamp));
    }
}

TEST(SubtitlesFrameDecoder, refusesWhatItCannotDecode) {
    SubRipStream source({1, 1000});
    source.stream().codecpar->codec_id = AV_CODEC_ID_TTML;
    try {
        FFmpegSubtitlesFrameDecoder decoder(source.stream());
        ADD_FAILURE() << "a decoder was made for TTML";
    } catch (const FFmpegError& error) {
        EXPECT_EQ(error, FFmpegError::decoderNotFound(AV_CODEC_ID_TTML));
    }
    source.stream().codecpar->codec_type = AVMEDIA_TYPE_DATA;
    try {
        FFmpegSubtitlesFrameDecoder decoder(source.stream());
        ADD_FAILURE() << "a decoder was made for data";
    } catch (const FFmpegError& error) {
        EXPECT_EQ(error, FFmpegError::simple(FFmpegError::Case::unsupportedMediaType));
    }
}

} // namespace
} // namespace zelvane
