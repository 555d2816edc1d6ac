// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <atomic>
#include <chrono>
#include <future>
#include <map>
#include <regex>
#include <sstream>
#include <thread>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core_media/ffmpeg_time.h"
#include "media_player/media_source/media_source_contents.h"
#include "tests/media_player/media_source/media_source_support.h"
#include "tests/support/log_capture.h"

namespace zelvane {
namespace {

namespace fs = std::filesystem;
using test::loadError;
using test::openSource;
using test::written;
using Case = MediaSource::LoadError::Case;

/// Two seconds of video, two audio and two subtitles tracks, with all metadata of tracks.
fs::path fullFilm() {
    // The command contains the text: another test could be rewriting a file.
    const std::string subtitles = "data:text/plain,1\n00:00:00,200 --> 00:00:00,900\nOne\n\n"
                                  "2\n00:00:01,100 --> 00:00:01,900\nTwo\n";
    return test::madeClip(
        "load-film.mkv",
        test::lavfi("testsrc2=size=64x48:rate=25:duration=2") + test::lavfi("sine=duration=2") +
            "-f srt -i '" + subtitles +
            "' -map 1:a -map 0:v -map 1:a -map 2:s -map 2:s -c:v libx264 -g 10 -c:a aac -c:s srt "
            "-vf setsar=4/3 -metadata:s:a:0 language=ger -metadata:s:a:1 'title= Notes ' "
            "-disposition:a:0 default -disposition:a:1 comment+visual_impaired "
            "-metadata:s:s:0 language=eng -disposition:s:1 forced+hearing_impaired");
}

TEST(MediaSourceLoad, aFilmHasItsTracksInStreamOrder) {
    const auto source = openSource(fullFilm());
    EXPECT_EQ(source->mediaType(), MediaType::video);
    EXPECT_EQ(source->url(), URL::fromPath(fullFilm()));
    EXPECT_EQ(source->startTime(), kCMTimeZero);
    EXPECT_NEAR(source->duration().seconds(), 2, 0.05);
    EXPECT_TRUE(std::regex_match(
        source->id(), std::regex("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-"
                                 "[0-9A-F]{12}")));

    ASSERT_EQ(source->videoTracks().size(), 1U);
    const auto& video = *source->videoTracks().front();
    EXPECT_EQ(video.id(), source->id() + ".1");
    EXPECT_EQ(video.dimensions().width, 64);
    EXPECT_EQ(video.dimensions().height, 48);
    EXPECT_NEAR(video.dimensions().aspectRatio, 64 * 4 / 3.0 / 48, 1e-9);
    ASSERT_TRUE(video.frameRate());
    EXPECT_EQ(av_cmp_q(*video.frameRate(), {25, 1}), 0);
    EXPECT_TRUE(video.embeddedSubtitlesTracks().empty());

    ASSERT_EQ(source->audioTracks().size(), 2U);
    EXPECT_EQ(source->audioTracks()[0]->streamIndex(), 0U);
    EXPECT_EQ(source->audioTracks()[0]->languageCodes(), std::vector<std::string>{"de"});
    EXPECT_TRUE(source->audioTracks()[0]->isDefault());
    EXPECT_EQ(source->audioTracks()[1]->title(), "Notes");
    EXPECT_EQ(source->audioTracks()[1]->mediaCharacteristics(),
              MediaCharacteristics{MediaCharacteristics::describesVideoForAccessibility});

    ASSERT_EQ(source->embeddedSubtitlesTracks().size(), 2U);
    EXPECT_EQ(source->subtitlesTracks(), source->embeddedSubtitlesTracks());
    EXPECT_EQ(source->subtitlesTracks()[0]->languageCodes(), std::vector<std::string>{"en"});
    EXPECT_FALSE(source->subtitlesTracks()[0]->isForced());
    EXPECT_TRUE(source->subtitlesTracks()[1]->isForced());
}

/// Packets are in the order of decoding: a picture that is shown earlier may follow.
TEST(MediaSourceLoad, aFilmWithoutSoundStartsWithTheFirstPictureShown) {
    using Clip = std::pair<const char*, const char*>;
    for (const auto& [container, codec] : std::vector<Clip>{
             {"mkv", "libx264"},
             {"mkv", "libx265"},
             {"mp4", "libx264"},
             {"ts", "libx264"},
             {"mkv", "mpeg4"},
         }) {
        const std::string name = fmt::format("load-start-{}.{}", codec, container);
        const auto source = openSource(
            test::madeClip(name, test::lavfi("testsrc2=s=64x64:r=5:d=4") + "-bf 3 -c:v " + codec));
        const auto& video = source->videoTracks().front();
        CMTime first = kCMTimePositiveInfinity;
        for (int i = 0; i < 10; ++i) {
            const auto packet = test::nextVisual(source, video);
            const auto time =
                timeFromStamp(packet->packet->avPacket().pts, video->streamTimeBase());
            first = time && *time < first ? *time : first;
        }
        EXPECT_NEAR(source->startTime().seconds(), first.seconds(), 0.001) << name;
    }
}

TEST(MediaSourceLoad, aRotatedPictureIsSeenUpright) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    const auto dimensions =
        openSource(media / "rotated/decord_video_90.mov")->videoTracks().front()->dimensions();
    EXPECT_EQ(dimensions.width, 568);
    EXPECT_NEAR(dimensions.effectiveSize.width, dimensions.squarePixelSize.height, 1e-6);
    EXPECT_NEAR(dimensions.effectiveSize.height, dimensions.squarePixelSize.width, 1e-6);
    EXPECT_LT(dimensions.aspectRatio, 1);
}

TEST(MediaSourceLoad, onlyFileURLsAreAccepted) {
    for (const auto& [text, scheme] : std::map<std::string, std::string>{
             {"http://localhost/film.mkv", "http"}, {"film.mkv", ""}, {"concat:/a|/b", "concat"}}) {
        const auto error = loadError(URL::parse(text));
        ASSERT_TRUE(error) << text;
        EXPECT_EQ(error->errorCase(), Case::unsupportedURLScheme);
        EXPECT_EQ(error->failureReason(),
                  "The URL scheme `" + scheme + "` is currently unsupported.");
    }
}

TEST(MediaSourceLoad, eachUnusableFileHasItsReason) {
    const test::TemporaryFolder folder;
    const auto file = [&](const char* name) { return folder.path() / name; };
    fs::create_directory(file("folder.mkv"));
    ASSERT_EQ(mkfifo(file("pipe.mkv").c_str(), 0600), 0);
    std::string noise(70000, '\0');
    std::uint32_t state = 1;
    for (char& byte : noise) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<char>(state >> 24);
    }
    const fs::path onlyData = test::madeClip(
        "only-data.mkv", test::lavfi("color=s=16x16:d=1:r=5") + "-attach '" + fullFilm().string() +
                             "' -metadata:s:t:0 mimetype=application/octet-stream -c:v mjpeg");
    std::string unknownCodec = test::bytesOf(onlyData);
    unknownCodec.replace(unknownCodec.find("V_MJPEG"), 7, "V_XJPEG");
    const fs::path noDuration = test::madeClip(
        "no-duration.h264", {"-f", "lavfi", "-i", "testsrc2=s=64x48:d=1", "-c:v", "libx264"});

    struct Expected {
        fs::path path;
        Case errorCase;
        std::string reason;
    };
    const std::string kInvalid = "Invalid data found when processing input";
    for (const Expected& expected : {
             Expected{file("missing.mkv"), Case::failedToOpenURL, "No such file or directory"},
             Expected{file("folder.mkv"), Case::failedToOpenURL, "Is a directory"},
             Expected{file("pipe.mkv"), Case::failedToOpenURL, "Illegal seek"},
             Expected{"/dev/zero", Case::failedToOpenURL, "Illegal seek"},
             Expected{"/proc/self/mem", Case::failedToOpenURL, "Input/output error"},
             Expected{written(file("empty.mp4"), ""), Case::failedToOpenURL, kInvalid},
             Expected{written(file("text.mp4"), std::string(2000, 'a')), Case::failedToOpenURL,
                      kInvalid},
             Expected{written(file("noise.mkv"), noise), Case::failedToOpenURL, kInvalid},
             Expected{written(file("codec.mkv"), unknownCodec), Case::noDecodableTracks,
                      "The media does not contain any decodable video/audio/subtitle tracks."},
             Expected{noDuration, Case::failedToReadMediaDuration,
                      "Failed to find the duration of the media."},
         }) {
        SCOPED_TRACE(expected.path);
        const auto error = loadError(URL::fromPath(expected.path));
        ASSERT_TRUE(error);
        EXPECT_EQ(error->errorCase(), expected.errorCase) << error->caseName();
        EXPECT_EQ(error->failureReason(), expected.reason);
    }
}

TEST(MediaSourceLoadDeathTest, anUnreadableFileIsRefused) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const test::TemporaryFolder folder;
    const fs::path path = written(folder.path() / "secret.mkv", "x");
    fs::permissions(path, fs::perms::none);
    fs::permissions(folder.path(), fs::perms::all);
    EXPECT_EXIT(
        {
            const bool isPlainUser = geteuid() != 0 || setuid(65534) == 0;
            const auto error = loadError(URL::fromPath(path));
            const bool isRefused = error && error->failureReason() == "Permission denied";
            _exit(isPlainUser && isRefused ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(MediaSourceLoad, ofTwoFailedOpeningsOneIsLogged) {
    const test::LogCapture log;
    ASSERT_TRUE(loadError(URL::fromPath("/nowhere/film.mkv")));
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(std::regex_match(
        lines[0], std::regex("In input_format_context.cpp makeInputFormatContext, the FFmpeg "
                             "function at line [0-9]+ returned an error: No such file or "
                             "directory\\.")));
}

TEST(MediaSourceLoad, aNegativeDurationIsNone) {
    AVFormatContext context{};
    context.duration = -AV_TIME_BASE;
    EXPECT_EQ(durationOf(context, CMTime(7, 1), false), CMTime(7, 1));
    EXPECT_THROW(durationOf(context, std::nullopt, true), MediaSource::LoadError);
}

TEST(MediaSourceLoad, theFallbackDurationIsUsedWhenNoneIsRequired) {
    const test::TemporaryFolder folder;
    const auto path = written(folder.path() / "one.srt", "1\n00:00:01,000 --> 00:00:02,000\nOne\n");
    const URL url = URL::fromPath(path);
    EXPECT_EQ(loadError(url)->errorCase(), Case::failedToReadMediaDuration);
    const auto source = MediaSource::open(url, CMTime(7, 1), false);
    EXPECT_EQ(source->mediaType(), MediaType::subtitles);
    EXPECT_EQ(source->duration(), CMTime(7, 1));
    EXPECT_TRUE(MediaSource::open(url, std::nullopt, false)->duration().isIndefinite());
}

TEST(MediaSourceLoad, subtitlesWithoutAnEventCannotBeSought) {
    const test::TemporaryFolder folder;
    const auto path =
        written(folder.path() / "none.ass", "[Script Info]\nScriptType: v4.00+\n\n[Events]\n");
    try {
        MediaSource::open(URL::fromPath(path), CMTime(7, 1), false);
        FAIL() << "loaded";
    } catch (const MediaSource::LoadError& error) {
        EXPECT_EQ(error.errorCase(), Case::failedToSeek);
        EXPECT_EQ(error.errorDescription(), "Unable to seek the media.");
    }
}

/// A playlist of one stream that has no index.
fs::path playlist(const test::TemporaryFolder& folder) {
    fs::copy_file(
        test::madeClip("load-segment.ts",
                       "-f lavfi -i testsrc2=size=64x64:rate=5:duration=2 -c:v mpeg2video"),
        folder.path() / "segment.ts");
    return written(folder.path() / "list.m3u8", "#EXTM3U\n#EXT-X-TARGETDURATION:2\n#EXTINF:2,\n"
                                                "segment.ts\n#EXT-X-ENDLIST\n");
}

/// Sound whose tables list no sample.
fs::path emptyIndex(const test::TemporaryFolder& folder) {
    std::string bytes =
        test::bytesOf(test::madeClip("empty-index.m4a", "-f lavfi -i sine=duration=1 -c:a aac"));
    for (const auto& [table, offset] : {std::pair("stts", 8), {"stsc", 8}, {"stsz", 12}}) {
        bytes.replace(bytes.find(table) + static_cast<std::size_t>(offset), 4, 4, '\0');
    }
    return written(folder.path() / "empty.m4b", bytes);
}

TEST(MediaSourceLoad, aFileThatCannotBeSoughtIsReadFromItsStart) {
    const test::TemporaryFolder folder;
    const test::LogCapture log;
    const auto pictures = openSource(playlist(folder));
    const auto video = test::firstVideoTrack(*pictures);
    const auto first = test::nextVisual(pictures, video);
    ASSERT_TRUE(first);
    const auto collected = pictures->visualTracksQueue()->sync(
        [&] { return pictures->seekVisual(video, {}, pictures->startTime()); });
    ASSERT_EQ(collected.size(), 1U);
    EXPECT_EQ(collected.front().second.front()->avPacket().pts, first->packet->avPacket().pts);

    const auto sound = openSource(emptyIndex(folder));
    const auto& audio = sound->audioTracks().front();
    EXPECT_EQ(test::nextAudio(sound, audio), nullptr);
    EXPECT_TRUE(sound->audioTracksQueue()
                    ->sync([&] { return sound->seekAudio(audio, kCMTimeZero); })
                    .empty());
}

/// Replaces a file by each of two others in turn, as fast as possible.
class Rewriter {
  public:
    Rewriter(const fs::path& path, std::array<fs::path, 2> contents)
        : thread_([this, path, contents = std::move(contents)] {
              const fs::path next = path.string() + ".next";
              for (std::size_t i = 0; !isDone_; ++i) {
                  fs::create_symlink(contents.at(i % 2), next);
                  fs::rename(next, path);
              }
          }) {}
    ~Rewriter() {
        isDone_ = true;
        thread_.join();
    }
    Rewriter(const Rewriter&) = delete;
    Rewriter& operator=(const Rewriter&) = delete;

  private:
    std::atomic<bool> isDone_{false};
    std::thread thread_;
};

TEST(MediaSourceLoad, aFileThatChangesBetweenItsOpeningsIsRefused) {
    const auto sound = [](const std::string& name, const std::vector<std::string>& options) {
        std::vector<std::string> arguments{"-f", "lavfi", "-i", "sine=duration=1"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return test::madeClip(name, arguments);
    };
    const auto one = sound("rewritten-one.mka", {"-c:a", "pcm_s16le"});
    const std::pair<const char*, fs::path> others[] = {
        {"of more streams",
         sound("rewritten-two.mka", {"-map", "0:a", "-map", "0:a", "-c:a", "pcm_s16le"})},
        {"of another codec", sound("rewritten-codec.mka", {"-c:a", "pcm_s32le"})},
        {"of another length", sound("rewritten-length.mka", {"-t", "0.5", "-c:a", "pcm_s16le"})},
    };
    for (const auto& [name, other] : others) {
        const test::TemporaryFolder folder;
        const auto path = folder.path() / "sound.mka";
        fs::create_symlink(one, path);
        const Rewriter rewriter(path, {one, other});
        // About every second attempt fails.
        std::optional<MediaSource::LoadError> error;
        for (int attempt = 0; attempt < 1000 && !error; ++attempt) {
            error = loadError(URL::fromPath(path));
        }
        ASSERT_TRUE(error) << name;
        EXPECT_EQ(error->errorCase(), Case::inconsistentReads) << name;
        EXPECT_EQ(error->failureReason(), "The file was modified while trying to read it.");
    }
}

TEST(MediaSourceLoad, loadingInTheBackgroundCallsOneHandler) {
    std::promise<std::string> outcome;
    const auto load = [&](const URL& url) {
        outcome = {};
        MediaSource::load(
            url, [&](const auto& source) { outcome.set_value("loaded " + source->id()); },
            [&](const auto& error) { outcome.set_value(std::string(error.caseName())); });
        return outcome.get_future().get();
    };
    EXPECT_EQ(load(URL::fromPath(fullFilm())).substr(0, 7), "loaded ");
    EXPECT_EQ(load(URL::fromPath("/nowhere")), "failedToOpenURL");
    ASSERT_TRUE(dispatch::waitForQuiescence(std::chrono::seconds(5)));
}

/// Whether the manifest's row states a duration and a stream that can be decoded.
bool mustLoad(const std::string& probed, const std::string& played) {
    const bool hasDuration =
        probed.find("dur=") != std::string::npos && probed.find("dur=-") == std::string::npos;
    const std::regex decodable("(; |\\| )[vas]:[a-z0-9]");
    // The library's parser finds no frame in FLAC of 32 bits.
    const bool isUnparsed = probed.find("flac 48000 stereo s32") != std::string::npos;
    return hasDuration && !isUnparsed && played.find("no decoder") == std::string::npos &&
           std::regex_search(probed, decodable);
}

TEST(MediaSourceLoad, everyRealFileThatCanBePlayedLoads) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    std::ifstream manifest(media / "MANIFEST.tsv");
    int loaded = 0;
    for (std::string line; std::getline(manifest, line);) {
        std::vector<std::string> columns;
        std::istringstream row(line);
        for (std::string column; std::getline(row, column, '\t');) {
            columns.push_back(column);
        }
        const bool isPlain = columns[6] == "containers" || columns[6] == "codecs" ||
                             columns[6] == "rotated" || columns[6] == "seeking";
        if (!isPlain || !mustLoad(columns[7], columns[8])) {
            continue;
        }
        SCOPED_TRACE(columns[0] + ": " + columns[7]);
        const auto error = loadError(URL::fromPath(media / columns[0]));
        EXPECT_FALSE(error) << errorDescriptionText(*error);
        ++loaded;
    }
    EXPECT_GT(loaded, 180);
}

} // namespace
} // namespace zelvane
