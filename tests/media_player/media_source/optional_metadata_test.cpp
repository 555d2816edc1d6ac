// SPDX-License-Identifier: GPL-3.0-or-later
#include <map>

#include <gmock/gmock.h>

#include "tests/media_player/media_source/media_source_support.h"
#include "tests/support/log_capture.h"

namespace zelvane {
namespace {

namespace fs = std::filesystem;
using test::openSource;
using test::written;
using testing::ElementsAre;
using testing::IsEmpty;
using Entries = std::map<std::string, std::string>;

OptionalMetadata metadataOf(MediaType mediaType, const Entries& entries) {
    AVDictionary* made = nullptr;
    for (const auto& [key, value] : entries) {
        av_dict_set(&made, key.c_str(), value.c_str(), 0);
    }
    const ffmpeg::Dictionary dictionary(made);
    return {mediaType, dictionary.get(), nullptr};
}

TEST(OptionalMetadata, textsComeFromTheirKeysAndThenFromTheirSortingNames) {
    struct Field {
        std::optional<std::string> OptionalMetadata::*field;
        const char* key;
        const char* otherKey;
    };
    const test::LogCapture log;
    for (const Field& field : {
             Field{&OptionalMetadata::title, "title", "sort_name"},
             Field{&OptionalMetadata::shortDescription, "description", nullptr},
             Field{&OptionalMetadata::fullDescription, "synopsis", nullptr},
             Field{&OptionalMetadata::artist, "artist", "sort_artist"},
             Field{&OptionalMetadata::composer, "composer", "sort_composer"},
             Field{&OptionalMetadata::albumTitle, "album", "sort_album"},
             Field{&OptionalMetadata::showTitle, "show", "sort_show"},
             Field{&OptionalMetadata::lyrics, "lyrics", nullptr},
             Field{&OptionalMetadata::genre, "genre", nullptr},
             Field{&OptionalMetadata::copyright, "copyright", nullptr},
         }) {
        SCOPED_TRACE(field.key);
        EXPECT_EQ(metadataOf(MediaType::video, {}).*field.field, std::nullopt);
        EXPECT_EQ(metadataOf(MediaType::video, {{field.key, "Größe"}}).*field.field, "Größe");
        if (field.otherKey != nullptr) {
            const Entries both{{field.key, "one"}, {field.otherKey, "other"}};
            EXPECT_EQ(metadataOf(MediaType::video, both).*field.field, "one");
            EXPECT_EQ(metadataOf(MediaType::video, {{field.otherKey, "other"}}).*field.field,
                      "other");
        }
    }
    EXPECT_EQ(metadataOf(MediaType::audio, {{"title", "caf\xe9!"}}).title, "caf\ufffd!");
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(OptionalMetadata, invalidNumbersAreLoggedAndIgnored) {
    struct Case {
        std::string value;
        std::optional<std::int64_t> integer;
        std::optional<std::int64_t> year;
    };
    for (const Case& number : {
             Case{"12", 12, 12},
             Case{"+7", 7, std::nullopt},
             Case{"-3", -3, std::nullopt},
             Case{"2a", std::nullopt, 2},
             Case{"1999-05-01", std::nullopt, 1999},
             Case{"unknown", std::nullopt, std::nullopt},
             Case{" 5", std::nullopt, std::nullopt},
             Case{"+-5", std::nullopt, std::nullopt},
             Case{"", std::nullopt, std::nullopt},
             Case{"99999999999999999999", std::nullopt, std::nullopt},
         }) {
        SCOPED_TRACE(number.value);
        const test::LogCapture log;
        const auto metadata = metadataOf(MediaType::video, {{"season_number", number.value},
                                                            {"episode_sort", number.value},
                                                            {"date", number.value}});
        EXPECT_EQ(metadata.seasonNumber, number.integer);
        EXPECT_EQ(metadata.episodeNumber, number.integer);
        EXPECT_EQ(metadata.releaseYear, number.year);
        std::vector<std::string> expected;
        for (const char* key : {"season_number", "episode_sort"}) {
            if (!number.integer) {
                expected.push_back("Metadata value for key `" + std::string(key) +
                                   "` is not an integer: \"" + number.value + "\".");
            }
        }
        if (!number.year) {
            expected.push_back("Metadata value for key `date` is not a date: \"" + number.value +
                               "\".");
        }
        EXPECT_EQ(log.lines(), expected);
    }
}

TEST(OptionalMetadata, theMediaKindMustMatchTheSource) {
    struct Kind {
        std::string value;
        unsigned video;
        unsigned audio;
        unsigned subtitles;
        std::string ignored;
    };
    for (const Kind& kind : {
             Kind{"0", 8192, 0, 8192, "homeVideo"},
             Kind{"1", 0, 1, 1, "music"},
             Kind{"2", 0, 4, 4, "audioBook"},
             Kind{"6", 2048, 0, 2048, "musicVideo"},
             Kind{"9", 256, 0, 256, "movie"},
             Kind{"10", 512, 0, 512, "tvShow"},
             Kind{"21", 1024, 2, 2, ""},
             Kind{"23", 4096, 8, 4096, ""},
         }) {
        SCOPED_TRACE(kind.value);
        for (const auto& [mediaType, name, expected] : {
                 std::tuple{MediaType::video, "video", kind.video},
                 std::tuple{MediaType::audio, "audio", kind.audio},
                 std::tuple{MediaType::subtitles, "subtitles", kind.subtitles},
             }) {
            SCOPED_TRACE(name);
            const test::LogCapture log;
            const auto subtype = metadataOf(mediaType, {{"media_type", kind.value}}).mediaSubtype;
            EXPECT_EQ(subtype ? subtype->rawValue() : 0, expected);
            if (expected != 0) {
                EXPECT_THAT(log.lines(), IsEmpty());
            } else {
                EXPECT_THAT(log.lines(), ElementsAre("Ignoring `" + kind.ignored +
                                                     "` subtype because it is not part of the `" +
                                                     name + "` umbrella media type."));
            }
        }
    }
    const test::LogCapture log;
    EXPECT_EQ(metadataOf(MediaType::video, {{"media_type", "5"}}).mediaSubtype, std::nullopt);
    EXPECT_EQ(metadataOf(MediaType::video, {{"media_type", "film"}}).mediaSubtype, std::nullopt);
    EXPECT_THAT(log.lines(),
                ElementsAre("Unrecognized iTunes media type: 5.",
                            "Metadata value for key `media_type` is not an integer: \"film\"."));
}

TEST(OptionalMetadata, metadataOfRealFiles) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    const test::LogCapture log;
    const auto sorted = openSource(media / "metadata/musicmetadata_pr-544.m4a");
    const auto& names = sorted->optionalMetadata();
    EXPECT_EQ(names.title, "Title Sort");
    EXPECT_EQ(names.shortDescription, "Short Description");
    EXPECT_EQ(names.fullDescription, "Long Description");
    EXPECT_EQ(names.composer, "Composer Sort");
    EXPECT_EQ(names.releaseYear, 2020);
    EXPECT_EQ(names.mediaSubtype, std::nullopt) << "a film without a picture";
    EXPECT_EQ(log.count("Ignoring `movie` subtype"), 1U);
    EXPECT_EQ(names.artwork, nullptr);

    const auto episode = openSource(media / "metadata/musicmetadata_Mr. Pickles S02E07 My Dear "
                                            "Boy.mp4");
    EXPECT_EQ(episode->optionalMetadata().showTitle, "Mr. Pickles");
    EXPECT_EQ(episode->optionalMetadata().seasonNumber, 2);
    EXPECT_EQ(episode->optionalMetadata().episodeNumber, 7);
    ASSERT_NE(episode->optionalMetadata().artwork, nullptr);
    EXPECT_EQ(episode->optionalMetadata().artwork->width, 1400);

    const auto song = openSource(media / "metadata/musicmetadata_id4.m4a");
    EXPECT_EQ(song->optionalMetadata().mediaSubtype, MPMediaType::music);

    EXPECT_EQ(openSource(media / "metadata/androidx_bear_with_vorbis_comments_invalid_mutf8.flac")
                  ->optionalMetadata()
                  .title,
              "test\ufffd\ufffdtitl");
}

TEST(OptionalMetadata, ofAnOggFileIsThatOfItsSound) {
    for (const char* coding :
         {"libvorbis clip-title.ogg", "libopus clip-title.opus", "flac clip-title.oga"}) {
        const std::string_view words = coding;
        const auto space = words.find(' ');
        const auto clip = test::madeClip(std::string(words.substr(space + 1)),
                                         "-f lavfi -i sine=d=1 -metadata title=Titled -c:a " +
                                             std::string(words.substr(0, space)));
        EXPECT_EQ(openSource(clip)->optionalMetadata().title, "Titled") << coding;
    }
}

TEST(Artwork, isFoundInEachKindOfRealFile) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    const test::LogCapture log;
    struct Expected {
        std::string file;
        int width;
        int height;
        std::string format;
    };
    for (const Expected& expected : {
             Expected{"androidx_bear-id3.mp3", 1400, 1400, "JPEG"},
             Expected{"mediafile_image.mp3", 2, 3, "PNG"},
             Expected{"mediafile_image.m4a", 2, 3, "PNG"},
             Expected{"androidx_bear_with_picture.flac", 371, 320, "PNG"},
             Expected{"mediafile_image.ogg", 2, 3, "PNG"},
             Expected{"musicmetadata_nirvana-2sec.opus.ogg", 225, 225, "JPEG"},
             Expected{"musicmetadata_big-buck-bunny_trailer-short.vp8.webm", 512, 725, "JPEG"},
             Expected{"musicmetadata_No Sanctuary Here.aiff", 1024, 985, "JPEG"},
             Expected{"musicmetadata_issue_57.wma", 360, 360, "JPEG"},
             Expected{"lofty_covr-junk.m4a", 2, 2, "PNG"},
         }) {
        SCOPED_TRACE(expected.file);
        const auto artwork =
            openSource(media / "metadata" / expected.file)->optionalMetadata().artwork;
        ASSERT_NE(artwork, nullptr);
        EXPECT_EQ(artwork->width, expected.width);
        EXPECT_EQ(artwork->height, expected.height);
        EXPECT_EQ(artwork->format, expected.format);
    }
    EXPECT_EQ(log.count("artwork"), 0U);
}

fs::path cover(const std::string& name, const std::string& colour) {
    return test::madeClip("cover-" + name, {"-f", "lavfi", "-i", "color=" + colour + ":s=24x16",
                                            "-frames:v", "1", "-q:v", "1"});
}

/// A second of sound with two covers.
fs::path songWithTwoCovers(const std::string& name) {
    return test::madeClip("covers-" + name,
                          {"-f", "lavfi", "-i", "sine=d=1", "-i", cover("red.jpg", "red").string(),
                           "-i", cover("blue.png", "blue").string(), "-map", "0", "-map", "1",
                           "-map", "2", "-c:v", "copy", "-disposition:v", "attached_pic"});
}

TEST(Artwork, theSecondPictureReplacesADamagedFirst) {
    const test::TemporaryFolder folder;
    for (const std::string container : {"mp3", "m4a", "flac"}) {
        SCOPED_TRACE(container);
        const auto song = songWithTwoCovers("song." + container);
        EXPECT_EQ(openSource(song)->optionalMetadata().artwork->format, "JPEG");
        std::string bytes = test::bytesOf(song);
        bytes.replace(bytes.find("\xff\xd8\xff\xe0"), 3, "xxx");
        const test::LogCapture log;
        const auto source = openSource(written(folder.path() / ("song." + container), bytes));
        const auto artwork = source->optionalMetadata().artwork;
        ASSERT_NE(artwork, nullptr);
        EXPECT_EQ(artwork->format, "PNG");
        EXPECT_EQ(log.count("Failed to load artwork image from data encoded by codec ID 7."), 1U);
        EXPECT_TRUE(source->videoTracks().empty());
    }
}

TEST(Artwork, damagedPicturesLoseOnlyTheArtwork) {
    const test::TemporaryFolder folder;
    std::string huge = test::bytesOf(cover("blue.png", "blue"));
    huge.replace(16, 8, std::string("\0\0\xea\x60\0\0\xea\x60", 8)); // 60000 x 60000
    const std::string jpeg = test::bytesOf(cover("red.jpg", "red"));
    for (const auto& [name, bytes] : {
             std::pair<std::string, std::string>{"text", "no picture at all"},
             {"huge", huge},
             {"header", jpeg.substr(0, 4)},
             {"swapped", std::string(jpeg.rbegin(), jpeg.rend())},
             {"zeros", std::string(5000, '\0')},
         }) {
        SCOPED_TRACE(name);
        const test::LogCapture log;
        const auto picture = written(folder.path() / name, bytes);
        const auto film = folder.path() / (name + ".mkv");
        fs::copy_file(test::madeClip("cover-damaged-" + name + ".mkv",
                                     {"-f", "lavfi", "-i", "testsrc2=s=32x32:d=1:r=5", "-c:v",
                                      "mpeg4", "-attach", picture.string(), "-metadata:s:t:0",
                                      "mimetype=image/jpeg", "-metadata", "title=Film"}),
                      film);
        const auto source = openSource(film);
        EXPECT_EQ(source->optionalMetadata().artwork, nullptr);
        EXPECT_EQ(source->optionalMetadata().title, "Film");
        EXPECT_EQ(source->videoTracks().size(), 1U);
        EXPECT_EQ(log.count("Failed to load artwork image from data encoded by codec ID 7."), 1U);
    }
}

} // namespace
} // namespace zelvane
