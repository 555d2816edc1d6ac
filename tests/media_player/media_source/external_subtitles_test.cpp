// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <condition_variable>
#include <map>
#include <mutex>
#include <new>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/media_player/media_source/media_source_support.h"
#include "tests/support/log_capture.h"

namespace zelvane {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

constexpr const char* kTwoCues = "1\n00:00:01,000 --> 00:00:02,000\none\n\n"
                                 "2\n00:00:03,000 --> 00:00:04,000\ntwo\n";

test::MediaSourceRef film() {
    return test::openSource(test::madeClip(
        "external-film.mkv", test::lavfi("testsrc2=size=32x32:rate=5:duration=6") + "-c:v mpeg4"));
}

struct Answer {
    ExternalSubtitlesTracks tracks;
    std::optional<MediaSource::LoadError> error;
};

Answer attached(const test::MediaSourceRef& source, const fs::path& path) {
    std::mutex mutex;
    std::condition_variable came;
    std::optional<Answer> answer;
    const auto give = [&](Answer given) {
        const std::lock_guard guard(mutex);
        answer = std::move(given);
        came.notify_one();
    };
    source->addExternalSubtitles(
        URL::fromPath(path),
        [&](const ExternalSubtitlesTracks& tracks) {
            give({tracks, std::nullopt});
        },
        [&](const MediaSource::LoadError& error) {
            give({{}, error});
        });
    std::unique_lock lock(mutex);
    came.wait(lock, [&] { return answer.has_value(); });
    return *answer;
}

/// The lines of all frames of a track, in order.
std::vector<std::string> lines(const ExternalSubtitlesTrack& track) {
    const auto& source = track.externalMediaSource();
    std::vector<std::string> found;
    const auto decode = [&](const Packet& packet) {
        for (const auto& frame : track.decoder().decode(packet)) {
            found.push_back(plainText(frame->subtitles));
        }
    };
    source->visualTracksQueue()->sync([&] {
        while (const auto packet =
                   source->readVisualPacket(nullptr, {track.externalMediaSourceTrack()})) {
            decode(*packet->packet);
        }
    });
    decode(Packet());
    return found;
}

TEST(ExternalSubtitles, followTheEmbeddedTracksAndKeepTheirFacts) {
    const test::TemporaryFolder folder;
    const auto source = film();
    const auto answer = attached(source, test::written(folder.path() / "a.srt", kTwoCues));
    ASSERT_EQ(answer.tracks.size(), 1U);
    const auto& track = answer.tracks.front();
    EXPECT_EQ(lines(*track), (std::vector{"one"s, "two"s}));
    EXPECT_EQ(track->id(), track->externalMediaSourceTrack()->id());
    EXPECT_EQ(&track->decoder(), &track->externalMediaSourceTrack()->decoder());
    EXPECT_TRUE(track->isExternal());
    EXPECT_EQ(track->parentVideoTrack(), nullptr);
    EXPECT_EQ(track->externalMediaSource()->duration(), source->duration());
    EXPECT_EQ(source->subtitlesTracks(), SubtitlesTracks{track});
    EXPECT_TRUE(source->embeddedSubtitlesTracks().empty());

    track->setID("other");
    EXPECT_NE(track->id(), track->externalMediaSourceTrack()->id());
}

TEST(ExternalSubtitles, aFileIsAttachedOnceUnderAnyName) {
    const test::TemporaryFolder folder;
    const auto source = film();
    const auto path = test::written(folder.path() / "a.srt", kTwoCues);
    fs::create_hard_link(path, folder.path() / "b.srt");
    fs::create_symlink(path, folder.path() / "c.srt");
    const auto first = attached(source, path).tracks;
    for (const char* name : {"a.srt", "b.srt", "c.srt"}) {
        EXPECT_EQ(attached(source, folder.path() / name).tracks, first) << name;
    }
    EXPECT_EQ(source->externalSubtitlesTracks(), first);
    fs::copy_file(path, folder.path() / "d.srt");
    EXPECT_NE(attached(source, folder.path() / "d.srt").tracks, first);
    EXPECT_EQ(source->externalSubtitlesTracks().size(), 2U);
}

TEST(ExternalSubtitles, invalidateTheRestorableState) {
    const test::TemporaryFolder folder;
    const auto source = film();
    int count = 0;
    const auto observer = NotificationCenter::shared().addObserver(
        std::string(MediaSource::kRestorableStateWasInvalidatedNotification), source.get(), nullptr,
        [&](const Notification&) { ++count; });
    const auto path = test::written(folder.path() / "a.srt", kTwoCues);
    const auto tracks = attached(source, path).tracks;
    EXPECT_EQ(count, 1);
    attached(source, path);
    EXPECT_EQ(count, 1) << "nothing new came";
    NotificationCenter::shared().post(
        {std::string(MediaSource::kRestorableStateWasInvalidatedNotification),
         static_cast<const MediaSource*>(tracks.front()->externalMediaSource().get()),
         {}});
    EXPECT_EQ(count, 2) << "a change of the side file travels up";
}

TEST(ExternalSubtitles, ofOtherMediaAreTheirSubtitlesOnly) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    const auto source = film();
    const auto answer = attached(source, media / "subtitles/embedded/androidx_sample_with_srt.mkv");
    ASSERT_EQ(answer.tracks.size(), 1U);
    EXPECT_FALSE(lines(*answer.tracks.front()).empty());
    EXPECT_TRUE(answer.tracks.front()->decoder().characterEncoding());
    const auto pictures = attached(source, media / "subtitles/embedded/gen_pgs.m2ts");
    ASSERT_EQ(pictures.tracks.size(), 1U);
    EXPECT_FALSE(pictures.tracks.front()->decoder().characterEncoding()) << "nothing to detect";
}

TEST(ExternalSubtitles, aSeekFindsAllPacketsOfAPicture) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    const auto answer = attached(film(), media / "subtitles/bitmap/libpgsjs_test.sup");
    ASSERT_EQ(answer.tracks.size(), 1U);
    auto& track = *answer.tracks.front();
    const auto& source = track.externalMediaSource();
    for (const auto& [seconds, start] : {std::pair(3.5, 3.0), {1.5, 1.0}, {0.5, 1.0}}) {
        const auto target = CMTime::fromSeconds(seconds, 1000);
        track.decoder().flush();
        std::vector<double> pictures;
        source->visualTracksQueue()->sync([&] {
            source->seekVisual(nullptr, {track.externalMediaSourceTrack()}, target);
            while (const auto packet =
                       source->readVisualPacket(nullptr, {track.externalMediaSourceTrack()})) {
                for (const auto& frame : track.decoder().decode(*packet->packet)) {
                    if (std::holds_alternative<std::vector<ImageSubtitle>>(frame->subtitles)) {
                        pictures.push_back(frame->startTime.seconds());
                    }
                }
            }
        });
        EXPECT_NE(std::find(pictures.begin(), pictures.end(), start), pictures.end()) << seconds;
    }
}

TEST(ExternalSubtitles, unusableFilesAreReported) {
    const test::TemporaryFolder folder;
    const test::LogCapture log;
    const auto source = film();
    const auto at = [&](const char* name, const std::string& bytes) {
        return test::written(folder.path() / name, bytes);
    };
    ASSERT_EQ(mkfifo((folder.path() / "pipe.srt").c_str(), 0600), 0);
    using Case = MediaSource::LoadError::Case;
    const std::pair<fs::path, Case> cases[] = {
        {folder.path() / "absent.srt", Case::failedToOpenURL},
        {folder.path() / "pipe.srt", Case::failedToOpenURL},
        {folder.path(), Case::failedToOpenURL},
        {at("empty.srt", ""), Case::failedToOpenURL},
        {at("zeros.srt", std::string(100'000, '\0')), Case::failedToOpenURL},
        {at("words.txt", "no subtitles"), Case::failedToOpenURL},
        {at("no-events.ass", "[Script Info]\n\n[Events]\n"), Case::failedToSeek},
        {test::madeClip("external-tone.wav", test::lavfi("sine=duration=1")),
         Case::noDecodableTracks},
    };
    for (const auto& [path, expected] : cases) {
        const auto answer = attached(source, path);
        ASSERT_TRUE(answer.error) << path;
        EXPECT_EQ(answer.error->errorCase(), expected) << path << answer.error->caseName();
        if (expected == Case::noDecodableTracks) {
            EXPECT_EQ(answer.error->failureReason(),
                      "The media does not contain any decodable subtitle tracks.");
        }
    }
    EXPECT_TRUE(source->externalSubtitlesTracks().empty());
    source->addExternalSubtitles(
        URL::parse("http://host/a.srt"), [](const auto&) {}, [](const auto&) {});
}

TEST(ExternalSubtitles, anyErrorWhileAFileIsAttachedIsReported) {
    const test::TemporaryFolder folder;
    const auto source = film();
    const auto observer = NotificationCenter::shared().addObserver(
        std::string(MediaSource::kRestorableStateWasInvalidatedNotification), source.get(), nullptr,
        [](const Notification&) { throw std::bad_alloc(); });
    const auto answer = attached(source, test::written(folder.path() / "a.srt", kTwoCues));
    ASSERT_TRUE(answer.error);
    EXPECT_EQ(answer.error->errorCase(), MediaSource::LoadError::Case::failedToOpenURL);
    EXPECT_EQ(answer.error->failureReason(), std::bad_alloc().what());
}

TEST(ExternalSubtitles, aNewFileUnderTheNameOfADeletedOneIsAttached) {
    const test::TemporaryFolder folder;
    const auto source = film();
    const auto path = test::written(folder.path() / "a.srt", kTwoCues);
    const auto first = attached(source, path).tracks;
    fs::remove(path);
    test::written(path, "1\n00:00:01,000 --> 00:00:02,000\nother\n");
    const auto second = attached(source, path).tracks;
    ASSERT_NE(second, first);
    EXPECT_EQ(lines(*second.front()), std::vector{"other"s});
}

TEST(ExternalSubtitles, damagedTextIsRead) {
    const test::TemporaryFolder folder;
    const auto source = film();
    const std::pair<std::string, std::string> cases[] = {
        {"\xef\xbb\xbf"s + kTwoCues, "one"},
        {"1\n00:00:01,000 --> 00:00:02,000\no\0ne\n"s, "one"},
        {"1\n00:00:01,000 --> 00:00:02,000\n\xc3\xa4\xc3\xb6\xc3\xbc\xc3\xa4\xc3\xb6\xc3\xbc"
         "\xc3\xa4\xc3\xb6 \xe4\n",
         "äöüäöüäö \xef\xbf\xbd"},
    };
    int count = 0;
    for (const auto& [bytes, line] : cases) {
        const auto path = folder.path() / (std::to_string(++count) + ".srt");
        const auto answer = attached(source, test::written(path, bytes));
        ASSERT_EQ(answer.tracks.size(), 1U) << count;
        EXPECT_EQ(lines(*answer.tracks.front()).front(), line) << count;
    }
}

TEST(ExternalSubtitles, aLineOfAMegabyteIsHarmless) {
    const test::TemporaryFolder folder;
    const std::string line(1'000'000, 'x');
    const auto path =
        test::written(folder.path() / "long.srt", kTwoCues + "\n"s +
                                                      "3\n"
                                                      "00:00:05,000 --> 00:00:06,000\n" +
                                                      line + "\n");
    const auto answer = attached(film(), path);
    ASSERT_EQ(answer.tracks.size(), 1U);
    const auto found = lines(*answer.tracks.front());
    ASSERT_EQ(found.size(), 3U);
    EXPECT_GT(found.back().size(), 1000U);
}

TEST(ExternalSubtitles, textIsReadInEveryUnicodeForm) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    const auto source = film();
    const std::pair<const char*, const char*> cases[] = {
        {"encodings/srt2vtt_utf32be.srt", "𝄞!"},
        {"encodings/srt2vtt_utf16le.srt", "𝄞!"},
        {"encodings/conv_sv_macroman.srt", "Till vänster kan vi se...\nSer vi..."},
        {"sides/mantas_utf16.srt", ""},
    };
    for (const auto& [name, line] : cases) {
        const auto answer = attached(source, media / "subtitles" / name);
        ASSERT_EQ(answer.tracks.size(), 1U) << name;
        const auto found = lines(*answer.tracks.front());
        ASSERT_FALSE(found.empty()) << name;
        if (*line != '\0') {
            EXPECT_EQ(found.front(), line) << name;
        }
    }
}

TEST(ExternalSubtitles, aLargeScriptHasAllItsEventsInOrder) {
    constexpr int kCount = 30'000;
    const std::string header = "[Script Info]\nScriptType: v4.00+\n\n[V4+ Styles]\n"
                               "Format: Name, Fontname, Fontsize, Alignment\n"
                               "Style: Default,Arial,20,2\n\n"
                               "[Events]\nFormat: Layer, Start, End, Style, Name, MarginL, "
                               "MarginR, MarginV, Effect, Text\n";
    const test::TemporaryFolder folder;
    for (const char* behind : {"", "\n[Fonts]\nfontname: none\n"}) {
        std::string script = header;
        for (int i = 0; i < kCount; ++i) {
            // From the last to the first, so that no slice is in order.
            const int second = kCount - 1 - i;
            script += fmt::format("Dialogue: 0,{0}:{1:02}:{2:02}.00,{0}:{1:02}:{2:02}.90,Default,,"
                                  "0,0,0,,{3} and as many words as make it long\r\n",
                                  second / 3600, second / 60 % 60, second % 60, second);
        }
        const auto path = test::written(folder.path() / "large.ass", script + behind);
        const auto found = lines(*attached(film(), path).tracks.front());
        ASSERT_EQ(found.size(), std::size_t{kCount});
        for (int i = 0; i < kCount; ++i) {
            ASSERT_EQ(found[static_cast<std::size_t>(i)].rfind(std::to_string(i) + " and", 0), 0U)
                << i;
        }
        fs::remove(path);
    }
}

TEST(ExternalSubtitles, aTextFileMayChangeAfterItWasAttached) {
    const test::TemporaryFolder folder;
    const auto source = film();
    const auto path = test::written(folder.path() / "a.srt", kTwoCues);
    const auto answer = attached(source, path);
    ASSERT_EQ(answer.tracks.size(), 1U);
    fs::resize_file(path, 0);
    EXPECT_EQ(lines(*answer.tracks.front()), (std::vector{"one"s, "two"s}));
}

TEST(ExternalSubtitles, everyFileOfTheCorpusIsAttachedOrReported) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    const test::LogCapture log;
    const auto source = film();
    std::map<std::string, int> answers;
    for (const char* folder : {"subtitles/encodings", "subtitles/sides", "subtitles/bitmap",
                               "subtitles/embedded", "subtitles/payloads", "ass-scripts"}) {
        for (const auto& entry : fs::directory_iterator(media / folder)) {
            const auto answer = attached(source, entry.path());
            ++answers[answer.error ? std::string(answer.error->caseName()) : "attached"];
            EXPECT_TRUE(answer.error || !answer.tracks.empty()) << entry.path();
        }
    }
    EXPECT_GT(answers["attached"], 250);
    for (const auto& [name, count] : answers) {
        RecordProperty(name, count);
    }
}

} // namespace
} // namespace zelvane
