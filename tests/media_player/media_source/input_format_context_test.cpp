// SPDX-License-Identifier: GPL-3.0-or-later
#include <span>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "media_player/media_source/packet_reading.h"
#include "tests/media_player/media_source/media_source_support.h"
#include "tests/support/log_capture.h"

namespace zelvane {
namespace {

namespace fs = std::filesystem;

const AVStream* firstStream(const AVFormatContext& context, AVMediaType mediaType) {
    for (const AVStream* stream : std::span(context.streams, context.nb_streams)) {
        if (stream->codecpar->codec_type == mediaType) {
            return stream;
        }
    }
    return nullptr;
}

bool isPicture(const AVStream* stream) {
    return stream != nullptr && (stream->disposition & AV_DISPOSITION_ATTACHED_PIC) == 0;
}

/// What a sound decoder is opened with, and the first packets after two seeks.
std::string soundOf(AVFormatContext& context) {
    const AVStream* const stream = firstStream(context, AVMEDIA_TYPE_AUDIO);
    if (stream == nullptr) {
        return "none";
    }
    const AVCodecParameters& parameters = *stream->codecpar;
    std::string text = fmt::format(
        "{} {} {} {} {} {} {} {}", static_cast<int>(parameters.codec_id), parameters.format,
        parameters.sample_rate, parameters.ch_layout.nb_channels, parameters.frame_size,
        parameters.profile, parameters.initial_padding, parameters.extradata_size);
    for (const CMTime& target : {kCMTimeZero, CMTime(1, 2)}) {
        setEnabledStreams({stream->index}, context);
        seek(context, target);
        for (int count = 0; count < 5; ++count) {
            if (const auto packet = readPacket({stream->index}, context)) {
                text += fmt::format(" {}/{}", packet->avPacket().pts, packet->avPacket().size);
            }
        }
    }
    return text;
}

TEST(InputFormatContext, theSoundsDemuxerDecodesNoPicturesOfAMovieFile) {
    for (const auto& [container, decodes] : {std::pair<std::string, bool>{"mp4", false},
                                             {"mov", false},
                                             {"mkv", true},
                                             {"ts", true}}) {
        SCOPED_TRACE(container);
        const auto clip = test::madeClip(
            "opening." + container, {"-f", "lavfi", "-i", "testsrc2=s=64x48:d=1", "-f", "lavfi",
                                     "-i", "sine=d=1", "-c:v", "libx264", "-c:a", "aac"});
        const auto contexts = makeInputFormatContexts(URL::fromPath(clip));
        const auto& visual = *firstStream(*contexts.visual, AVMEDIA_TYPE_VIDEO)->codecpar;
        const auto& audio = *firstStream(*contexts.audio, AVMEDIA_TYPE_VIDEO)->codecpar;
        EXPECT_EQ(visual.format, AV_PIX_FMT_YUV420P);
        EXPECT_EQ(audio.format, decodes ? AV_PIX_FMT_YUV420P : AV_PIX_FMT_NONE);
        EXPECT_TRUE(isSameContainer(*contexts.visual, *contexts.audio));
    }
}

TEST(InputFormatContext, whatIsLeftOutChangesNoSound) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    const test::LogCapture log;
    int count = 0;
    for (const char* folder : {"codecs", "containers", "seeking", "rotated", "hdr"}) {
        for (const auto& entry : fs::directory_iterator(media / folder)) {
            const auto extension = entry.path().extension();
            if (extension != ".mp4" && extension != ".mov" && extension != ".m4v") {
                continue;
            }
            SCOPED_TRACE(entry.path());
            const URL url = URL::fromPath(entry.path());
            const auto whole = makeInputFormatContext(url);
            const auto contexts = makeInputFormatContexts(url);
            EXPECT_TRUE(isSameContainer(*contexts.visual, *contexts.audio));
            EXPECT_EQ(soundOf(*contexts.audio), soundOf(*whole));
            count += isPicture(firstStream(*contexts.audio, AVMEDIA_TYPE_VIDEO)) ? 1 : 0;
        }
    }
    EXPECT_GT(count, 30);
}

} // namespace
} // namespace zelvane
