// SPDX-License-Identifier: GPL-3.0-or-later
#include "subtitles_view/subtitles_view.h"

#include <thread>

#include <gmock/gmock.h>

#include "tests/media_player/playback/playback_fakes.h"
#include "tests/subtitles_view/subtitles_view_fakes.h"

namespace zelvane::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

int bufferCountOf(const SubtitlesView& view) {
    return view.mediaDataRequester()->bufferCount();
}

class SubtitlesViewTest : public testing::Test, private SubtitlesSurface {
  protected:
    SubtitlesViewTest() { view_->setSurface(this); }

    std::shared_ptr<SubtitlesView> makeView(bool isPrimary) const {
        return std::make_shared<SubtitlesView>(isPrimary, TimeObserverManager(clock_, kCMTimeZero),
                                               fakeViews());
    }
    void add(std::int64_t start, std::int64_t end, Subtitles subtitles) {
        view_->addSubtitlesFrame(frameOf(ms(start), ms(end), std::move(subtitles)));
        main_.settle();
    }
    void addLine(std::int64_t start, std::int64_t end, const std::string& text) {
        add(start, end, std::vector{line(text)});
    }
    void addClearing(std::int64_t start) {
        add(start, std::int64_t{start} + UINT32_MAX, ClearPreviousSubtitles());
    }
    void runTo(std::int64_t time) {
        clock_->runTo(ms(time));
        main_.settle();
    }
    std::vector<std::string> shown() const {
        std::vector<std::string> names;
        for (const auto& view : view_->subtitleViews()) {
            names.push_back(nameOf(*view));
        }
        return names;
    }

    MainQueueScope main_;
    std::shared_ptr<FakeSynchronizer> clock_ = std::make_shared<FakeSynchronizer>();
    std::shared_ptr<SubtitlesView> view_ = makeView(true);
    /// The calls to the surface: "+name", "-name", "dimensions".
    std::vector<std::string> told_;

  private:
    void didAddSubtitleView(SubtitleView& view) override { told_.push_back("+" + nameOf(view)); }
    void willRemoveSubtitleView(const SubtitleView& view) override {
        told_.push_back("-" + nameOf(view));
    }
    void videoDimensionsDidChange() override { told_.emplace_back("dimensions"); }
};

TEST_F(SubtitlesViewTest, aFrameIsOnDisplayFromItsStartToItsEnd) {
    addLine(1000, 2000, "a");
    for (const auto& [time, isShown] : std::initializer_list<std::pair<int, bool>>{
             {0, false}, {999, false}, {1000, true}, {1999, true}, {2000, false}, {3000, false}}) {
        runTo(time);
        EXPECT_EQ(!shown().empty(), isShown) << time;
    }
    EXPECT_THAT(told_, ElementsAre("+a", "-a"));
}

TEST_F(SubtitlesViewTest, overlappingFramesAreShownTogetherInOrderOfAddition) {
    addLine(1000, 3000, "long");
    addLine(1500, 2000, "short");
    runTo(1700);
    EXPECT_THAT(shown(), ElementsAre("long", "short"));
    runTo(2500);
    EXPECT_THAT(shown(), ElementsAre("long"));
    runTo(3500);
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_F(SubtitlesViewTest, theLinesOfAFrameAreShownTogetherInOrder) {
    add(0, 1000, std::vector{line("a"), line("b")});
    EXPECT_THAT(shown(), ElementsAre("a", "b"));
    runTo(1000);
    EXPECT_THAT(told_, ElementsAre("+a", "+b", "-a", "-b"));
}

TEST_F(SubtitlesViewTest, eachKindOfSubtitleHasItsView) {
    add(0, 1000, TextSubtitle{"plain"});
    add(0, 1000, std::vector<ImageSubtitle>(2));
    view_->setVideoDimensions(VideoDimensions(640, 480, std::nullopt, 1));
    main_.settle();
    add(0, 1000, std::vector<ImageSubtitle>(1));
    EXPECT_THAT(shown(), ElementsAre("plain", "picture ?", "picture ?", "picture 640x480"));
    EXPECT_THAT(told_, testing::Contains("dimensions"));
}

TEST_F(SubtitlesViewTest, viewsKnowTheirPosition) {
    view_ = makeView(false);
    add(0, 1000, TextSubtitle{"plain"});
    add(0, 1000, std::vector{line("a")});
    add(0, 1000, std::vector<ImageSubtitle>(1));
    EXPECT_THAT(shown(), ElementsAre("top plain", "top a", "top picture ?"));
}

TEST_F(SubtitlesViewTest, aFrameWithoutLinesEndsNormally) {
    add(1000, 2000, std::vector<FormattedTextSubtitle>());
    runTo(1500);
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_EQ(bufferCountOf(*view_), 1);
    runTo(2000);
    EXPECT_EQ(bufferCountOf(*view_), 0);
}

TEST_F(SubtitlesViewTest, theRequesterSeesWhatHasNotEnded) {
    addLine(1000, 2000, "a");
    addLine(2000, 3000, "b");
    addClearing(3500);
    EXPECT_EQ(bufferCountOf(*view_), 2);
    runTo(1500);
    EXPECT_EQ(bufferCountOf(*view_), 2) << "on display is not ended";
    runTo(2500);
    EXPECT_EQ(bufferCountOf(*view_), 1);
}

TEST_F(SubtitlesViewTest, clearingRemovesDisplayedFramesAndKeepsPendingOnes) {
    addLine(0, UINT32_MAX, "for 49 days");
    addLine(500, 5000, "too");
    addLine(2000, 3000, "later");
    addClearing(1000);
    runTo(700);
    EXPECT_EQ(bufferCountOf(*view_), 3);
    runTo(1000);
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_EQ(bufferCountOf(*view_), 1);
    runTo(2500);
    EXPECT_THAT(shown(), ElementsAre("later"));
    runTo(6000);
    EXPECT_THAT(told_, testing::UnorderedElementsAre("+for 49 days", "+too", "-for 49 days", "-too",
                                                     "+later", "-later"));
}

TEST_F(SubtitlesViewTest, flushingRemovesAllFramesAtOnce) {
    addLine(0, 2000, "shown");
    addLine(1000, 2000, "pending");
    addClearing(1500);
    std::thread([&] { view_->removeAllSubtitles(); }).join();
    EXPECT_THAT(shown(), ElementsAre("shown")) << "on the main queue, not before";
    main_.settle();
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_EQ(bufferCountOf(*view_), 0);
    EXPECT_EQ(clock_->observerCount(), 0U);
    runTo(3000);
    EXPECT_THAT(told_, ElementsAre("+shown", "-shown"));
}

TEST_F(SubtitlesViewTest, aFrameThatIsDueDuringAFlushIsNotShown) {
    runTo(1000);
    // Its start has passed: the call to show it is queued after the flush.
    dispatch::mainQueue()->async(
        [&] { view_->addSubtitlesFrame(frameOf(ms(500), ms(2000), std::vector{line("gone")})); });
    view_->removeAllSubtitles();
    main_.settle();
    EXPECT_THAT(shown(), IsEmpty());
    runTo(1500);
    view_->addSubtitlesFrame(frameOf(ms(1600), ms(2000), std::vector{line("gone")}));
    view_->removeAllSubtitles();
    clock_->runTo(ms(1700));
    main_.settle();
    EXPECT_THAT(told_, IsEmpty());
}

TEST_F(SubtitlesViewTest, aFrameInThePastIsRemoved) {
    runTo(5000);
    addLine(1000, 2000, "a");
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_EQ(bufferCountOf(*view_), 0);
}

TEST_F(SubtitlesViewTest, anEndBeforeTheStartDropsTheFrameUnshown) {
    view_->addSubtitlesFrame(frameOf(ms(2000), ms(1000), std::vector{line("a")}));
    runTo(1500);
    EXPECT_EQ(bufferCountOf(*view_), 0);
    EXPECT_EQ(clock_->observerCount(), 0U);
    runTo(2500);
    EXPECT_THAT(told_, IsEmpty());
}

TEST_F(SubtitlesViewTest, jumpsOfTheClockShowNothing) {
    addLine(1000, 2000, "a");
    clock_->setRate(0, ms(1500));
    main_.settle();
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_F(SubtitlesViewTest, destructionOnAnyThreadRemovesAllObservers) {
    std::weak_ptr<SubtitlesView> view;
    std::thread::id goneOn;
    {
        auto factory = fakeViews();
        factory.makeTextView = [&](const auto&, bool) {
            struct View final : SubtitleView {
                explicit View(std::thread::id& thread) : thread_(thread) {}
                ~View() override { thread_ = std::this_thread::get_id(); }
                void setSize(const QSizeF&, qreal) override {}
                QRectF paintedRect() const override { return {}; }
                void paint(QPainter&) const override {}
                std::thread::id& thread_;
            };
            return std::make_unique<View>(goneOn);
        };
        view_ = std::make_shared<SubtitlesView>(true, TimeObserverManager(clock_, kCMTimeZero),
                                                factory);
        view = view_;
    }
    addLine(0, 2000, "shown");
    addLine(1000, 2000, "pending");
    view_->removeAllSubtitles();
    std::thread([&] { view_.reset(); }).join();
    EXPECT_TRUE(view.expired());
    EXPECT_EQ(clock_->observerCount(), 0U);
    main_.settle();
    EXPECT_EQ(goneOn, std::this_thread::get_id()) << "views end on the main thread";
}

} // namespace
} // namespace zelvane::test
