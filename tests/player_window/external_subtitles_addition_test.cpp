// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/player/external_subtitles_addition.h"

#include <gtest/gtest.h>

#include <QKeyEvent>

#include "foundation/dispatch.h"
#include "player_window/player/progress_sheet.h"
#include "tests/player_window/window_test_support.h"

namespace zelvane {
namespace {

/// A source that adds a file when the test says so.
class SlowSource final : public PlayableSource {
  public:
    CMTime startTime() const override { return kCMTimeZero; }
    CMTime duration() const override { return CMTime(60, 1); }
    const std::shared_ptr<dispatch::Queue>& visualTracksQueue() const override { return queue_; }
    const std::shared_ptr<dispatch::Queue>& audioTracksQueue() const override { return queue_; }
    PacketRef readAudioPacket(const std::shared_ptr<AudioTrack>& /*track*/) override { return {}; }
    std::optional<TrackPacket> readVisualPacket(const std::shared_ptr<VideoTrack>& /*video*/,
                                                const SubtitlesTracks& /*subtitles*/) override {
        return std::nullopt;
    }
    std::vector<PacketRef> seekAudio(const std::shared_ptr<AudioTrack>& /*track*/,
                                     const CMTime& /*time*/) override {
        return {};
    }
    CollectedPackets seekVisual(const std::shared_ptr<VideoTrack>& /*video*/,
                                const SubtitlesTracks& /*subtitles*/,
                                const CMTime& /*time*/) override {
        return {};
    }
    std::string id() const override { return "source"; }
    const URL& url() const override { return url_; }
    const OptionalMetadata& optionalMetadata() const override { return metadata_; }
    const MediaChapters& chapters() const override { return chapters_; }
    const std::vector<std::shared_ptr<VideoTrack>>& videoTracks() const override { return video_; }
    const std::vector<std::shared_ptr<AudioTrack>>& audioTracks() const override { return audio_; }
    SubtitlesTracks subtitlesTracks() const override { return {}; }
    void addExternalSubtitles(const URL& url, ExternalSubtitlesHandler successHandler,
                              FailureHandler failureHandler) override {
        urls.push_back(url.lastPathComponent());
        succeed.push_back(std::move(successHandler));
        fail.push_back(std::move(failureHandler));
    }

    std::vector<std::string> urls;
    std::vector<ExternalSubtitlesHandler> succeed;
    std::vector<FailureHandler> fail;

  private:
    const std::shared_ptr<dispatch::Queue> queue_ = std::make_shared<dispatch::RunLoopQueue>();
    const URL url_ = URL::fromPath("/film.mkv");
    const OptionalMetadata metadata_{};
    MediaChapters chapters_;
    const std::vector<std::shared_ptr<VideoTrack>> video_{};
    const std::vector<std::shared_ptr<AudioTrack>> audio_{};
};

class ExternalSubtitlesAdditionTest : public testing::Test {
  public:
    ~ExternalSubtitlesAdditionTest() override {
        addition_ = nullptr;
        dispatch::setMainQueue(nullptr);
    }

  protected:
    ExternalSubtitlesAdditionTest() {
        dispatch::setMainQueue(mainQueue_);
        window_.resize(640, 360);
        addition_ = std::make_unique<ExternalSubtitlesAddition>(
            source_, window_,
            ExternalSubtitlesAddition::Handlers{
                [this](const ExternalSubtitlesTracks&) { events_ += "added "; },
                [this](const URL& url, const MediaSourceLoadError&) {
                    events_ += url.lastPathComponent() + " failed ";
                },
                [this] { events_ += "begin "; }, [this] { events_ += "end "; }});
    }
    void add(const std::string& name) { addition_->add(URL::fromPath("/" + name)); }
    ProgressSheet* sheet() const { return window_.findChild<ProgressSheet*>(); }

    const std::shared_ptr<dispatch::RunLoopQueue> mainQueue_ =
        std::make_shared<dispatch::RunLoopQueue>();
    const std::shared_ptr<SlowSource> source_ = std::make_shared<SlowSource>();
    QWidget window_;
    std::unique_ptr<ExternalSubtitlesAddition> addition_;
    std::string events_;
};

TEST_F(ExternalSubtitlesAdditionTest, addsOneFileAtATimeAndReportsItsResult) {
    add("a.srt");
    add("refused.srt");
    EXPECT_EQ(source_->urls, std::vector<std::string>{"a.srt"});
    source_->succeed[0]({});
    EXPECT_TRUE(addition_->isUnderWay()) << "the result is handled on the main queue";
    mainQueue_->runPending();
    EXPECT_FALSE(addition_->isUnderWay());
    add("b.srt");
    source_->fail[1](MediaSourceLoadError::noDecodableTracks({MediaType::subtitles}));
    mainQueue_->runPending();
    EXPECT_EQ(events_, "begin end added begin end b.srt failed ");
}

TEST_F(ExternalSubtitlesAdditionTest, escCancelsAndALateResultIsDropped) {
    ASSERT_TRUE(test::showAndWait(window_));
    add("slow.srt");
    ASSERT_TRUE(test::runUntil([&] { return sheet()->isVisible(); }));
    EXPECT_EQ(sheet()->accessibleName(), QStringLiteral("Opening “slow.srt”…"));
    EXPECT_EQ(sheet()->size(), window_.size());
    window_.resize(500, 300);
    EXPECT_TRUE(test::runUntil([&] { return sheet()->size() == QSize(500, 300); }));
    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QCoreApplication::sendEvent(sheet(), &escape);
    EXPECT_TRUE(test::runUntil([&] { return sheet() == nullptr; }));
    add("next.srt");
    source_->succeed[0]({});
    mainQueue_->runPending();
    EXPECT_EQ(events_, "begin end begin ") << "the late result must not end the next addition";
    source_->succeed[1]({});
    mainQueue_->runPending();
    EXPECT_EQ(events_, "begin end begin end added ");
}

} // namespace
} // namespace zelvane
