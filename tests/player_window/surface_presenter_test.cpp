// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/surface_presenter.h"

#include <vector>

#include <gtest/gtest.h>

#include "tests/player_window/window_test_support.h"

namespace zelvane {
namespace {

using namespace std::chrono_literals;

class CrankedClock final : public HostClock {
  public:
    HostTime now() const override { return time; }
    HostTime time{1s};
};

class SurfacePresenterTest : public testing::Test {
  protected:
    SurfacePresenterTest() {
        presenter_.attach([this] { ++wakeCount_; });
    }

    VideoPresenter::ShownHandler note(int name) {
        return [this, name](HostTime at) { shown_.emplace_back(name, at); };
    }

    std::shared_ptr<CrankedClock> clock_ = std::make_shared<CrankedClock>();
    int conversions_ = 0;
    int wakeCount_ = 0;
    std::vector<std::pair<int, HostTime>> shown_;
    SurfacePresenter<int> presenter_{[this](const PresentedFrame& frame) {
                                         ++conversions_;
                                         return frame.pixelBuffer->width() == 1
                                                    ? nullptr
                                                    : std::make_shared<const int>(conversions_);
                                     },
                                     clock_};
    PresentedFrame first_ = test::frameOf(test::fourFields(2, 2));
    PresentedFrame second_ = test::frameOf(test::fourFields(4, 2));
};

TEST_F(SurfacePresenterTest, reportsAFrameWhenItHasReachedTheScreen) {
    presenter_.present(first_, note(1));
    EXPECT_EQ(wakeCount_, 1);
    presenter_.didReachScreen();
    EXPECT_TRUE(shown_.empty()) << "nothing was drawn yet";
    presenter_.takeContent();
    clock_->time = 1004ms;
    presenter_.didReachScreen();
    presenter_.didReachScreen();
    ASSERT_EQ(shown_.size(), 1U);
    EXPECT_EQ(shown_[0], std::pair(1, HostTime(1004ms)));
    EXPECT_EQ(presenter_.presentationDelay(), 4ms);
}

TEST_F(SurfacePresenterTest, doesNotReportAFrameThatWasReplaced) {
    presenter_.present(first_, note(1));
    presenter_.present(second_, note(2));
    EXPECT_EQ(presenter_.takeContent().bounds, second_.bounds);
    presenter_.didReachScreen();
    ASSERT_EQ(shown_.size(), 1U);
    EXPECT_EQ(shown_[0].first, 2);
}

TEST_F(SurfacePresenterTest, removingTheImageLeavesNothingToDraw) {
    presenter_.present(first_, note(1));
    presenter_.removeImage();
    EXPECT_EQ(wakeCount_, 2);
    EXPECT_EQ(presenter_.takeContent().picture, nullptr);
    presenter_.didReachScreen();
    EXPECT_TRUE(shown_.empty());
}

TEST_F(SurfacePresenterTest, aPreparedFrameIsNotConvertedAgain) {
    presenter_.prepare(first_);
    presenter_.prepare(first_);
    presenter_.present(first_, {});
    EXPECT_EQ(conversions_, 1);
    presenter_.present(second_, {});
    EXPECT_EQ(conversions_, 2);
    EXPECT_EQ(*presenter_.takeContent().picture, 2);
}

TEST_F(SurfacePresenterTest, aFrameThatCannotBeConvertedLeavesThePictureAsItIs) {
    presenter_.present(first_, note(1));
    presenter_.takeContent();
    presenter_.present(test::frameOf(test::fourFields(1, 1)), note(2));
    EXPECT_EQ(*presenter_.takeContent().picture, 1);
    presenter_.didReachScreen();
    ASSERT_EQ(shown_.size(), 1U);
    EXPECT_EQ(shown_[0].first, 1);
}

TEST_F(SurfacePresenterTest, aDetachedPresenterDoesNothingAndOwnsNothing) {
    presenter_.present(first_, note(1));
    presenter_.detach();
    presenter_.present(second_, note(2));
    presenter_.removeImage();
    EXPECT_EQ(wakeCount_, 1);
    EXPECT_EQ(conversions_, 1) << "without a surface";
    EXPECT_EQ(presenter_.takeContent().picture, nullptr);
    presenter_.didReachScreen();
    EXPECT_TRUE(shown_.empty());
}

TEST_F(SurfacePresenterTest, theDelayIsTheMedian) {
    const auto delayAfter = [&](std::initializer_list<HostDuration> delays) {
        for (const HostDuration delay : delays) {
            presenter_.present(first_, {});
            presenter_.takeContent();
            clock_->time += delay;
            presenter_.didReachScreen();
        }
        return presenter_.presentationDelay();
    };
    // The first frame waits for its window.
    EXPECT_EQ(delayAfter({90ms, 4ms}), 4ms);
    EXPECT_EQ(delayAfter({5ms, 80ms, 4ms}), 5ms) << "a frame that was held up";
    EXPECT_EQ(delayAfter({5s}), 5ms) << "a window that was hidden";
    EXPECT_EQ(delayAfter({9ms, 9ms, 9ms, 9ms, 9ms}), 9ms) << "a display that is slower now";
}

} // namespace
} // namespace zelvane
