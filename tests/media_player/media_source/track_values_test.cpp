// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdlib>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "media_player/media_source/media_source_load_error.h"
#include "media_player/media_source/media_track.h"

namespace zelvane {
namespace {

TEST(VideoDimensions, aPixelGrowsInWidthOrShrinksInHeight) {
    struct Case {
        int width;
        int height;
        double ratio;
        CGSize square;
    };
    for (const Case& c :
         {Case{720, 576, 16.0 / 15, {768, 576}}, Case{720, 576, 8.0 / 9, {720, 648}},
          Case{640, 360, 1.0, {640, 360}}, Case{1, 1, 4, {4, 1}}}) {
        const VideoDimensions dimensions(c.width, c.height, std::nullopt, c.ratio);
        EXPECT_DOUBLE_EQ(dimensions.squarePixelSize.width, c.square.width);
        EXPECT_DOUBLE_EQ(dimensions.squarePixelSize.height, c.square.height);
        EXPECT_EQ(dimensions.effectiveSize, dimensions.squarePixelSize);
        EXPECT_DOUBLE_EQ(dimensions.aspectRatio, c.square.width / c.square.height);
    }
}

TEST(VideoDimensions, theTransformTurnsTheSizeThatIsSeen) {
    struct Case {
        CGAffineTransform transform;
        CGSize seen;
    };
    constexpr CGSize kUpright{768, 576};
    constexpr CGSize kTurned{576, 768};
    for (const Case& c : {Case{{0, 1, -1, 0, 576, 0}, kTurned}, Case{{0, -1, 1, 0, 0, 0}, kTurned},
                          Case{{-1, 0, 0, -1, 0, 0}, kUpright}, Case{{-1, 0, 0, 1, 0, 0}, kUpright},
                          Case{{0, 1, 1, 0, 0, 0}, kTurned}}) {
        const VideoDimensions dimensions(720, 576, c.transform, 16.0 / 15);
        EXPECT_DOUBLE_EQ(dimensions.effectiveSize.width, c.seen.width);
        EXPECT_DOUBLE_EQ(dimensions.effectiveSize.height, c.seen.height);
        EXPECT_DOUBLE_EQ(dimensions.aspectRatio, c.seen.width / c.seen.height);
    }
}

TEST(VideoDimensionsDeathTest, aPictureWithoutSizeStopsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(VideoDimensions(0, 1, std::nullopt, 1), "at least one pixel");
    EXPECT_DEATH(VideoDimensions(1, 1, std::nullopt, 0), "aspect ratio");
}

TEST(MediaCharacteristics, followTheDisposition) {
    using C = MediaCharacteristics;
    constexpr int kVisual = AV_DISPOSITION_VISUAL_IMPAIRED;
    constexpr int kHearing = AV_DISPOSITION_HEARING_IMPAIRED;
    constexpr int kClean = AV_DISPOSITION_CLEAN_EFFECTS;
    struct Case {
        int disposition;
        C expected;
    };
    for (const Case& c :
         {Case{0, {}}, Case{kClean, {}}, Case{kVisual, {C::describesVideoForAccessibility}},
          Case{kHearing, {C::transcribesSpokenDialogForAccessibility}},
          Case{kHearing | kClean, {C::describesMusicAndSoundForAccessibility}},
          Case{kHearing | kVisual | AV_DISPOSITION_DEFAULT,
               {C::describesVideoForAccessibility, C::transcribesSpokenDialogForAccessibility}}}) {
        EXPECT_EQ(mediaCharacteristicsFromDisposition(c.disposition), c.expected) << c.disposition;
    }
}

/// A stream without a demuxer.
class StreamFixture {
  public:
    AVStream& operator*() const { return *stream_; }
    AVStream* operator->() const { return stream_; }
    void setMetadata(const char* key, const char* value) const {
        av_dict_set(&stream_->metadata, key, value, 0);
    }

  private:
    ffmpeg::InputContext context_{avformat_alloc_context()};
    AVStream* stream_ = avformat_new_stream(context_.get(), nullptr);
};

TEST(MediaTrackFacts, languagesAreCanonicalAndKeepTheirOrder) {
    struct Case {
        const char* value;
        std::vector<std::string> expected;
    };
    for (const Case& c : {Case{" eng , und,\tfre\n", {"en", "fr"}}, Case{"und", {}}, Case{"", {}},
                          Case{",,ger,,", {"de"}}, Case{"en_us,chi", {"en-US", "zh"}},
                          Case{"no language", {"no language"}}}) {
        const StreamFixture stream;
        stream.setMetadata("language", c.value);
        EXPECT_EQ(mediaTrackFacts(*stream).languageCodes, c.expected) << c.value;
    }
    EXPECT_TRUE(mediaTrackFacts(*StreamFixture()).languageCodes.empty());
}

TEST(MediaTrackFacts, titleAndFlagsComeFromTheStream) {
    const StreamFixture stream;
    stream.setMetadata("title", " \n\t");
    EXPECT_EQ(mediaTrackFacts(*stream).title, std::nullopt);
    stream.setMetadata("title", "  Director's cut \n");
    stream->disposition = AV_DISPOSITION_FORCED;
    stream->time_base = {1, 90000};
    stream->index = 7;
    const auto facts = mediaTrackFacts(*stream);
    EXPECT_EQ(facts.title, "Director's cut");
    EXPECT_TRUE(facts.isForced);
    EXPECT_FALSE(facts.isDefault);
    EXPECT_EQ(facts.streamIndex, 7U);
    EXPECT_EQ(av_cmp_q(facts.streamTimeBase, {1, 90000}), 0);
}

TEST(VideoTrack, anAttachedPictureIsNone) {
    const StreamFixture stream;
    stream->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
    stream->codecpar->codec_id = AV_CODEC_ID_MJPEG;
    stream->codecpar->format = AV_PIX_FMT_YUVJ420P;
    stream->codecpar->width = 16;
    stream->codecpar->height = 16;
    EXPECT_NO_THROW(VideoTrack("ID", *stream));
    stream->disposition = AV_DISPOSITION_ATTACHED_PIC;
    try {
        const VideoTrack track("ID", *stream);
        FAIL() << "made a track of a picture";
    } catch (const FFmpegError& error) {
        EXPECT_EQ(error.errorCase(), FFmpegError::Case::unsupportedMediaType);
    }
}

TEST(MediaSourceLoadError, hasTheTextsOfItsCase) {
    using E = MediaSourceLoadError;
    const auto underlying = std::make_exception_ptr(FFmpegError::fromStatus(AVERROR(ENOENT)));
    struct Case {
        E error;
        const char* name;
        const char* description;
        const char* reason;
        std::optional<std::string> suggestion = {};
    };
    const char* const kUnable = "Unable to load the media.";
    const std::vector<Case> cases{
        {E::unsupportedURLScheme("http"), "unsupportedURLScheme", kUnable,
         "The URL scheme `http` is currently unsupported.", "Please submit a feature request."},
        {E::unsupportedURLScheme(""), "unsupportedURLScheme", kUnable,
         "The URL scheme `` is currently unsupported.", "Please submit a feature request."},
        {E::failedToOpenURL(URL::fromPath("/x"), underlying), "failedToOpenURL",
         "Unable to open the file.", "No such file or directory"},
        {E::failedToOpenURL(URL::parse("ftp://x"), underlying), "failedToOpenURL",
         "Unable to open the URL.", "No such file or directory"},
        {E::noDecodableTracks({MediaType::subtitles, MediaType::audio, MediaType::video}),
         "noDecodableTracks", kUnable,
         "The media does not contain any decodable video/audio/subtitle tracks."},
        {E::noDecodableTracks({MediaType::audio, MediaType::video}), "noDecodableTracks", kUnable,
         "The media does not contain any decodable video/audio tracks."},
        {E::noDecodableTracks({MediaType::subtitles}), "noDecodableTracks", kUnable,
         "The media does not contain any decodable subtitle tracks."},
        {E::failedToSeek(underlying), "failedToSeek", "Unable to seek the media.",
         "No such file or directory"},
        {E::inconsistentReads(), "inconsistentReads", kUnable,
         "The file was modified while trying to read it.", "Please try again."},
        {E::failedToReadMediaDuration(), "failedToReadMediaDuration", kUnable,
         "Failed to find the duration of the media."},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.error.caseName(), c.name);
        EXPECT_EQ(c.error.errorDescription(), c.description);
        EXPECT_EQ(c.error.failureReason(), c.reason);
        EXPECT_EQ(c.error.recoverySuggestion(), c.suggestion);
    }
}

} // namespace
} // namespace zelvane
