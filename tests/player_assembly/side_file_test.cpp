// SPDX-License-Identifier: GPL-3.0-or-later
//
// A side file in a real player: its lines reach their place a few at a time, those of a seek first,
// and in the style that the person wants by then.

#include <deque>
#include <fstream>
#include <string>
#include <thread>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "foundation/user_defaults.h"
#include "media_player/decoders/subtitles/caption_appearance.h"
#include "media_player/decoders/subtitles/subtitle_text_style_manager.h"
#include "media_player/playback/media_player.h"
#include "player_assembly/player_assembly.h"
#include "rendering/null_video_presenter.h"
#include "tests/support/clips.h"

namespace zelvane::test {
namespace {

constexpr auto kPatience = std::chrono::seconds(30);
constexpr int kLines = 200;
constexpr int kHighMark = 10;
/// How many lines one packet can add beyond the mark.
constexpr int kBurst = 1;

/// Holds lines until a test takes them, as a view holds them until they end. Main queue.
class Shelf final : public SubtitlesRenderer {
  public:
    void addSubtitlesFrame(SubtitlesFrameRef frame) override {
        held_.push_back(std::move(frame));
        mostHeld_ = std::max(mostHeld_, held_.size());
        reportCount();
    }
    void removeAllSubtitles() override {
        dispatch::mainQueue()->async([this] {
            held_.clear();
            reportCount();
        });
    }
    void setVideoDimensions(const VideoDimensions& /*dimensions*/) override {}

    SubtitlesFrameRef takeFirst() {
        SubtitlesFrameRef first = std::move(held_.front());
        held_.pop_front();
        reportCount();
        return first;
    }
    const std::deque<SubtitlesFrameRef>& held() const { return held_; }
    std::size_t mostHeld() const { return mostHeld_; }

  private:
    void reportCount() const {
        mediaDataRequester()->setBufferCount(static_cast<int>(held_.size()));
    }

    std::deque<SubtitlesFrameRef> held_;
    std::size_t mostHeld_ = 0;
};

std::string stamp(int milliseconds) {
    return fmt::format("00:{:02}:{:02},{:03}", milliseconds / 60'000, milliseconds / 1000 % 60,
                       milliseconds % 1000);
}

std::string line(int number) {
    return fmt::format("line {}", number);
}

std::string textOf(const SubtitlesFrameRef& frame) {
    return plainText(frame->subtitles);
}

class SideFile : public testing::Test {
  protected:
    SideFile() { dispatch::setMainQueue(main_); }
    void TearDown() override {
        player_ = nullptr;
        main_->runUntil([] { return dispatch::waitForQuiescence(std::chrono::milliseconds(5)); },
                        std::chrono::seconds(5));
        dispatch::setMainQueue(nullptr);
        UserDefaults::shared().setStore(nullptr);
    }

    /// Opens a clip of ten seconds with a side file of a line each 50 ms, 40 ms long, selected as
    /// primary subtitles.
    void open() {
        const auto film = madeClip(
            "side-file.mkv", {"-f", "lavfi", "-i", "testsrc2=s=96x64:r=25:d=10", "-c:v", "mpeg4"});
        const auto side = folder_.path() / "side.srt";
        std::ofstream file(side);
        for (int i = 0; i < kLines; ++i) {
            file << i + 1 << "\n"
                 << stamp(i * 50) << " --> " << stamp(i * 50 + 40) << "\n"
                 << line(i) << "\n\n";
        }
        file.close();
        // A change of the style makes players reseek.
        SubtitleTextStyleManager::shared()->userSpecifiedStyle();
        ASSERT_TRUE(dispatch::waitForQuiescence(kPatience));
        parts_.displayLayer->setPresenter(std::make_shared<NullVideoPresenter>());
        auto environment = playerEnvironment(parts_);
        environment.primarySubtitlesRenderer = shelf_;
        const auto source = MediaSource::open(URL::fromPath(film), std::nullopt, true);
        makeMediaPlayer(environment, source, defaultTracks(*source), std::nullopt,
                        dispatch::mainQueue(), [this](const auto& made) { player_ = made; });
        ASSERT_TRUE(waitUntil([this] { return player_ != nullptr; }));
        ExternalSubtitlesTracks tracks;
        source->addExternalSubtitles(
            URL::fromPath(side),
            [&tracks](const ExternalSubtitlesTracks& added) {
                dispatch::mainQueue()->async([&tracks, added] { tracks = added; });
            },
            [](const auto& error) { ADD_FAILURE() << errorDescriptionText(error); });
        ASSERT_TRUE(waitUntil([&] { return !tracks.empty(); }));
        player_->setSelectedSubtitlesTrack(SubtitlesPosition::primary, tracks.at(0));
        // The selection reseeks; this seek ends after it.
        ASSERT_NO_FATAL_FAILURE(seek(kCMTimeZero));
    }

    void seek(const CMTime& time) {
        bool isDone = false;
        player_->queue()->sync(
            [&] { player_->seekTo(time, dispatch::mainQueue(), [&isDone] { isDone = true; }); });
        ASSERT_TRUE(waitUntil([&] { return isDone; }));
    }

    bool waitUntil(const std::function<bool()>& done) const {
        const auto end = std::chrono::steady_clock::now() + kPatience;
        while (!done() && std::chrono::steady_clock::now() < end) {
            main_->runUntil(done, std::chrono::milliseconds(20));
        }
        return done();
    }

    TemporaryFolder folder_;
    std::shared_ptr<dispatch::RunLoopQueue> main_ = std::make_shared<dispatch::RunLoopQueue>();
    PlayerParts parts_ = makePlayerParts(SoundOutput::none);
    std::shared_ptr<Shelf> shelf_ = std::make_shared<Shelf>();
    std::shared_ptr<MediaPlayer> player_;
};

TEST_F(SideFile, linesArriveInOrderAndAFewAtATime) {
    ASSERT_NO_FATAL_FAILURE(open());
    for (int i = 0; i < kLines; ++i) {
        ASSERT_TRUE(waitUntil([this] { return !shelf_->held().empty(); })) << i;
        const auto frame = shelf_->takeFirst();
        EXPECT_EQ(textOf(frame), line(i));
        EXPECT_EQ(frame->startTime, CMTime(i * 50, 1000));
        EXPECT_EQ(frame->endTime, CMTime(i * 50 + 40, 1000));
    }
    EXPECT_LE(shelf_->mostHeld(), kHighMark + kBurst);
}

TEST_F(SideFile, afterASeekTheLineOfItsTargetIsFirst) {
    ASSERT_NO_FATAL_FAILURE(open());
    for (const int number : {120, 7, 199, 60}) {
        ASSERT_NO_FATAL_FAILURE(seek(CMTime(number * 50 + 20, 1000)));
        ASSERT_TRUE(waitUntil([&] {
            return !shelf_->held().empty() && textOf(shelf_->held().front()) == line(number);
        })) << number;
    }
    EXPECT_LE(shelf_->mostHeld(), kHighMark + kBurst);
}

/// The user moves a slider of the settings during playback.
TEST_F(SideFile, aStyleChangedDuringPlaybackAppliesToLaterLines) {
    ASSERT_NO_FATAL_FAILURE(open());
    player_->queue()->sync([this] { player_->play(); });
    UserDefaults& settings = UserDefaults::shared();
    settings.set(kUseUserSpecifiedSubtitleTextStyleKey, true);
    constexpr int kChanges = 20;
    std::thread user([&] {
        for (int i = 1; i <= kChanges; ++i) {
            settings.set("ZLVNCaptionRelativeCharacterSize", 1 + i / 10.0);
            CaptionAppearance::shared().settingsDidChange();
        }
    });
    const auto sizeOf = [](const SubtitlesFrameRef& frame) {
        const auto* items = std::get_if<std::vector<FormattedTextSubtitle>>(&frame->subtitles);
        return items == nullptr || items->empty()
                   ? 0.0
                   : items->front().style.scalingInfo.additionalFontSizeMultiplier;
    };
    bool isReached = false;
    waitUntil([&] {
        while (!isReached && !shelf_->held().empty()) {
            isReached = std::abs(sizeOf(shelf_->takeFirst()) - (1 + kChanges / 10.0)) < 1e-9;
        }
        return isReached;
    });
    user.join();
    EXPECT_TRUE(isReached);
}

} // namespace
} // namespace zelvane::test
