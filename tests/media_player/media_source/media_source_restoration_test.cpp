// SPDX-License-Identifier: GPL-3.0-or-later
#include <future>

#include <gmock/gmock.h>

#include "tests/media_player/media_source/media_source_support.h"
#include "tests/support/clips.h"

namespace zelvane {
namespace {

namespace fs = std::filesystem;

constexpr const char* kOneCue = "1\n00:00:01,000 --> 00:00:02,000\nline\n";

test::MediaSourceRef filmIn(const fs::path& folder) {
    const auto clip =
        test::madeClip("restored-film.mkv", test::lavfi("testsrc2=size=32x32:rate=5:duration=3") +
                                                test::lavfi("sine=d=3") + "-c:v mpeg4 -c:a aac");
    fs::copy_file(clip, folder / "film.mkv", fs::copy_options::skip_existing);
    return test::openSource(folder / "film.mkv");
}

void attach(const test::MediaSourceRef& source, const fs::path& path) {
    std::promise<void> done;
    source->addExternalSubtitles(
        URL::fromPath(path), [&](const ExternalSubtitlesTracks&) { done.set_value(); },
        [&](const MediaSource::LoadError&) { done.set_value(); });
    done.get_future().wait();
}

std::optional<MediaSource::LoadError> restore(const test::MediaSourceRef& source,
                                              const StateCoder& state) {
    std::promise<std::optional<MediaSource::LoadError>> answer;
    source->restore(state, [&](const auto& error) { answer.set_value(error); });
    return answer.get_future().get();
}

std::vector<std::string> idsOf(const MediaSource& source) {
    std::vector<std::string> ids{source.id(), source.videoTracks().front()->id(),
                                 source.audioTracks().front()->id()};
    for (const auto& track : source.subtitlesTracks()) {
        ids.push_back(track->id());
    }
    return ids;
}

std::vector<std::string> sideFilesOf(const MediaSource& source) {
    std::vector<std::string> names;
    for (const auto& track : source.externalSubtitlesTracks()) {
        names.push_back(track->externalMediaSource()->url().lastPathComponent());
    }
    return names;
}

class MediaSourceRestoration : public testing::Test {
  protected:
    MediaSourceRestoration() : film_(filmIn(folder_.path())) {
        fs::create_directory(folder_.path() / "side");
        // Not in the order of their creation, which can be that of their inodes.
        for (const char* name : {"a.srt", "b.srt", "c.srt"}) {
            test::written(folder_.path() / "side" / name, kOneCue);
        }
        for (const char* name : {"c.srt", "a.srt", "b.srt"}) {
            attach(film_, folder_.path() / "side" / name);
        }
        // As a file keeps it.
        state_ = StateCoder::fromData(film_->restorableState().data()).state;
    }
    fs::path side(const std::string& name) const { return folder_.path() / "side" / name; }

    const test::TemporaryFolder folder_;
    test::MediaSourceRef film_;
    StateCoder state_;
};

TEST_F(MediaSourceRestoration, bringsBackIdentifiersAndSideFilesInTheirOrder) {
    const auto again = filmIn(folder_.path());
    EXPECT_NE(idsOf(*again), idsOf(*film_));
    std::atomic<int> count = 0;
    const auto observer = NotificationCenter::shared().addObserver(
        std::string(MediaSource::kRestorableStateWasInvalidatedNotification), again.get(), nullptr,
        [&](const Notification&) { ++count; });
    EXPECT_FALSE(restore(again, state_));
    EXPECT_EQ(idsOf(*again), idsOf(*film_));
    EXPECT_EQ(sideFilesOf(*again), (std::vector<std::string>{"c.srt", "a.srt", "b.srt"}));
    EXPECT_EQ(again->restorableState().data(), state_.data());
    EXPECT_EQ(count, 4) << "the identifier and three files";
}

TEST_F(MediaSourceRestoration, findsMovedFilesAndLeavesOutDeletedOnes) {
    fs::rename(side("c.srt"), side("renamed.srt"));
    fs::remove(side("a.srt"));
    fs::rename(side("b.srt"), folder_.path() / "beside the film.srt");
    const auto again = filmIn(folder_.path());
    const auto error = restore(again, state_);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->url(), URL::fromPath(side("a.srt")));
    EXPECT_EQ(sideFilesOf(*again),
              (std::vector<std::string>{"renamed.srt", "beside the film.srt"}));
}

TEST_F(MediaSourceRestoration, ofUnreadableStateIsNothing) {
    const auto again = filmIn(folder_.path());
    const auto ids = idsOf(*again);
    for (const char* data :
         {"{}", R"({"zelvane.MediaSource.id":7})",
          R"({"zelvane.MediaSource.externalSubtitlesMediaSourceRestorationParametersArray":
              [1,{},{"url":"http://host/a.srt"},{"url":[]}]})"}) {
        EXPECT_FALSE(restore(again, StateCoder::fromData(data).state)) << data;
        EXPECT_EQ(idsOf(*again), ids) << data;
    }
}

TEST_F(MediaSourceRestoration, ofAHostileStateOpensFewFiles) {
    constexpr std::string_view kKey =
        "zelvane.MediaSource.externalSubtitlesMediaSourceRestorationParametersArray";
    StateCoder state;
    for (int depth = 0; depth < 6; ++depth) {
        StateCoder entry;
        FileBookmark::of(URL::fromPath(side("a.srt"))).encode(entry);
        entry.encodeState("restorableState", state);
        state = StateCoder();
        state.encodeStates(kKey, {entry});
    }
    const auto again = filmIn(folder_.path());
    restore(again, state);
    int depth = 0;
    for (auto left = std::optional(again->restorableState()); left; ++depth) {
        const auto entries = left->decodeStates(kKey, 1);
        left = entries.empty() ? std::nullopt : entries.front().decodeState("restorableState");
    }
    EXPECT_EQ(depth, 3) << "the film, its side file, and one below";
}

} // namespace
} // namespace zelvane
