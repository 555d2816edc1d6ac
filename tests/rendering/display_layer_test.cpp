// SPDX-License-Identifier: GPL-3.0-or-later
#include <condition_variable>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "rendering/null_video_presenter.h"
#include "rendering/sample_buffer_display_layer.h"
#include "tests/rendering/rendering_fakes.h"

namespace zelvane {
namespace {

using std::chrono::milliseconds;
using test::ms;

/// The width of a pixel buffer is the time of its frame plus 1, so that a presenter can log it.
CMSampleBufferRef sampleAt(int time, int duration = 40) {
    auto pixels = std::make_shared<std::vector<std::uint8_t>>(4);
    CVPixelBuffer::Geometry geometry{kCVPixelFormatType_32BGRA, time + 1, 1, 1, {}};
    geometry.planes[0] = {pixels->data(), 4, time + 1, 1};
    const auto picture = CVPixelBuffer::overMemory(geometry, pixels);
    return CMSampleBuffer::ofPicture(picture, {ms(duration), ms(time), kCMTimeInvalid});
}

class WritingPresenter final : public VideoPresenter {
  public:
    void prepare(const PresentedFrame& frame) override { write("prepare", frame); }
    void present(const PresentedFrame& frame, ShownHandler shown) override {
        write("present", frame);
        shown_ = std::move(shown);
        bounds_ = frame.bounds;
    }
    void removeImage() override { log_.emplace_back("remove"); }
    HostDuration presentationDelay() const override { return delay_; }

    std::vector<std::string> takeLog() { return std::exchange(log_, {}); }

    std::vector<std::string> log_;
    ShownHandler shown_;
    CGRect bounds_;
    HostDuration delay_{0};

  private:
    void write(const std::string& what, const PresentedFrame& frame) {
        log_.push_back(what + " " + std::to_string(frame.pixelBuffer->width() - 1));
    }
};

using Log = std::vector<std::string>;

class DisplayLayer : public testing::Test {
  protected:
    DisplayLayer() { layer_.setPresenter(presenter_); }

    void enqueue(std::initializer_list<int> times) {
        for (const int time : times) {
            layer_.enqueueSampleBuffer(sampleAt(time));
        }
    }
    /// The clock shows `time` now.
    void setLine(int time, double rate) {
        layer_.timelineDidChange({ms(time), time_.now(), rate},
                                 SynchronizedRenderer::Change::jumped);
    }
    Log service() {
        wanted_ = layer_.service();
        return presenter_->takeLog();
    }
    Log serviceAfter(HostDuration wait) {
        time_.advance(wait);
        return service();
    }

    test::FakeTime time_;
    const HostTime begin_ = time_.now();
    std::shared_ptr<WritingPresenter> presenter_ = std::make_shared<WritingPresenter>();
    SampleBufferDisplayLayer layer_{time_.clock(), SampleBufferDisplayLayer::Drive::byHand};
    HostTime wanted_{0};
};

TEST_F(DisplayLayer, theTimerIsArmedForTheNextFrameLessThePresentersDelay) {
    presenter_->delay_ = milliseconds(7);
    enqueue({0, 40});
    setLine(0, 1);
    EXPECT_EQ(service(), (Log{"present 0", "prepare 40"}));
    EXPECT_EQ(wanted_, time_.now() + milliseconds(33));
    EXPECT_EQ(serviceAfter(milliseconds(32)), Log{});
    EXPECT_EQ(serviceAfter(milliseconds(1)), Log{"present 40"});
    EXPECT_EQ(wanted_, HostTime::max());
}

TEST_F(DisplayLayer, theTimerFollowsTheAnchor) {
    struct Case {
        int startsIn;
        double rate;
        int wakesIn;
    };
    enqueue({0, 40});
    for (const auto& [startsIn, rate, wakesIn] :
         {Case{0, 1, 40}, Case{0, 2, 20}, Case{-3, 1, 37}, Case{50, 1, 90}}) {
        layer_.timelineDidChange({ms(0), time_.now() + milliseconds(startsIn), rate},
                                 SynchronizedRenderer::Change::steered);
        service();
        EXPECT_EQ(wanted_, time_.now() + milliseconds(wakesIn)) << startsIn << " " << rate;
    }
}

TEST_F(DisplayLayer, aSeekWhilePausedShowsTheTargetAtOnce) {
    setLine(5000, 0);
    layer_.flush();
    EXPECT_EQ(service(), Log{});
    enqueue({5000});
    EXPECT_EQ(service(), Log{"present 5000"});
    enqueue({5040, 5080});
    EXPECT_EQ(service(), Log{"prepare 5040"});
    EXPECT_EQ(wanted_, HostTime::max());
}

TEST_F(DisplayLayer, aQueuedPictureCountsAsShownBeforeTheThreadHasPresentedIt) {
    EXPECT_FALSE(layer_.showsPicture());
    enqueue({0});
    EXPECT_TRUE(layer_.showsPicture());
    service();
    EXPECT_TRUE(layer_.showsPicture());
    layer_.flushAndRemoveImage();
    EXPECT_FALSE(layer_.showsPicture());
}

TEST_F(DisplayLayer, flushKeepsTheImageAndRemoveImageClearsIt) {
    enqueue({0, 40});
    setLine(0, 0);
    service();
    layer_.flush();
    EXPECT_EQ(service(), Log{});
    layer_.flushAndRemoveImage();
    EXPECT_EQ(service(), Log{"remove"});
    layer_.setBounds({0, 0, 16, 9});
    EXPECT_EQ(service(), Log{});
    enqueue({40});
    EXPECT_EQ(service(), Log{"present 40"});
    layer_.flushAndRemoveImage();
    enqueue({80});
    EXPECT_EQ(service(), Log{"present 80"}) << "replaced before it was removed";
}

TEST_F(DisplayLayer, theImageIsDrawnAgainInANewShapeAndOnANewPresenter) {
    enqueue({0, 40});
    setLine(0, 0);
    service();
    layer_.setBounds({0, 0, 16, 9});
    EXPECT_EQ(service(), Log{"present 0"});
    EXPECT_EQ(presenter_->bounds_, (CGRect{0, 0, 16, 9}));
    layer_.setBounds({0, 0, 16, 9});
    EXPECT_EQ(service(), Log{});
    presenter_ = std::make_shared<WritingPresenter>();
    layer_.setPresenter(presenter_);
    EXPECT_EQ(service(), (Log{"present 0", "prepare 40"}));
    EXPECT_EQ(presenter_->bounds_, (CGRect{0, 0, 16, 9}));
    layer_.setPresenter(nullptr);
    EXPECT_EQ(service(), Log{});
}

TEST_F(DisplayLayer, statisticsCountWhatWasVisible) {
    enqueue({0, 40, 80, 120, 160});
    setLine(0, 1);
    service();
    presenter_->shown_(time_.now() + milliseconds(2));
    serviceAfter(milliseconds(80)); // 40 is overtaken
    presenter_->shown_(time_.now() + milliseconds(1));
    serviceAfter(milliseconds(40)); // 120 is presented, and replaced before it is drawn
    serviceAfter(milliseconds(40));
    presenter_->shown_(time_.now() + milliseconds(21));
    presenter_->shown_(time_.now() + milliseconds(99)); // ignored: already reported
    const auto statistics = layer_.statistics();
    EXPECT_EQ(statistics.framesShown, 3U);
    EXPECT_EQ(statistics.framesDropped, 2U);
    EXPECT_EQ(statistics.framesLate, 1U);
    // The first frame of an anchor has no due time: 1 and 21 count.
    EXPECT_DOUBLE_EQ(statistics.meanFrameError, 11);
    EXPECT_DOUBLE_EQ(statistics.maxFrameError, 21);
    EXPECT_EQ(statistics.firstFrameShownAt, begin_ + milliseconds(2));
}

TEST_F(DisplayLayer, aFrameShownWhileTheClockIsStoppedHasNoError) {
    enqueue({500});
    setLine(0, 0);
    service();
    presenter_->shown_(time_.now() + milliseconds(300));
    EXPECT_EQ(layer_.statistics().framesShown, 1U);
    EXPECT_DOUBLE_EQ(layer_.statistics().maxFrameError, 0);
}

/// A provider on a RunLoopQueue.
class DisplayLayerRequests : public DisplayLayer {
  protected:
    void request() {
        layer_.requestMediaDataWhenReady(queue_, [this] {
            ++calls_;
            for (int i = 0; i < gives_ && layer_.isReadyForMoreMediaData(); ++i) {
                layer_.enqueueSampleBuffer(sampleAt(nextTime_));
                nextTime_ += 40;
            }
        });
    }
    int callsAfterService() {
        calls_ = 0;
        service();
        queue_->runPending();
        return calls_;
    }

    std::shared_ptr<dispatch::RunLoopQueue> queue_ =
        std::make_shared<dispatch::RunLoopQueue>("provider");
    int gives_ = 100;
    int nextTime_ = 0;
    int calls_ = 0;
};

TEST_F(DisplayLayerRequests, theBlockIsCalledAgainWhenThereIsRoom) {
    setLine(0, 1);
    request();
    EXPECT_EQ(callsAfterService(), 1);
    EXPECT_EQ(callsAfterService(), 1) << "the first frame has left the queue";
    EXPECT_EQ(callsAfterService(), 0) << "full";
    time_.advance(milliseconds(10));
    EXPECT_EQ(callsAfterService(), 0);
    time_.advance(milliseconds(30));
    service();
    EXPECT_EQ(callsAfterService(), 1);
    layer_.flush();
    EXPECT_EQ(callsAfterService(), 1);
}

TEST_F(DisplayLayerRequests, aBlockThatGaveLessThanThereIsRoomForIsCalledAgain) {
    gives_ = 1;
    request();
    EXPECT_GT(callsAfterService(), 1);
    EXPECT_FALSE(layer_.isReadyForMoreMediaData());
}

TEST_F(DisplayLayerRequests, noCallFollowsTheEndOfTheRequest) {
    request();
    service();
    layer_.stopRequestingMediaData();
    queue_->runPending();
    EXPECT_EQ(calls_, 0);
    layer_.stopRequestingMediaData();
    request();
    EXPECT_EQ(callsAfterService(), 1) << "a new request may follow at once";
}

/// The real clock and thread: frames are shown in order, once each, near their times.
TEST(DisplayLayerThread, playsOnTheSystemClock) {
    const auto clock = HostClock::system();
    SampleBufferDisplayLayer layer(clock);
    std::mutex mutex;
    std::condition_variable ended;
    int time = 0;
    bool isOver = false;
    constexpr int kFrames = 30;
    layer.setPresenter(std::make_shared<NullVideoPresenter>(clock));
    const auto queue = dispatch::makeSerialQueue("frames");
    layer.requestMediaDataWhenReady(queue, [&] {
        while (layer.isReadyForMoreMediaData() && time < kFrames) {
            layer.enqueueSampleBuffer(sampleAt(10 * time++, 10));
        }
        if (time == kFrames &&
            layer.statistics().framesShown + layer.statistics().framesDropped >= kFrames) {
            layer.stopRequestingMediaData();
            const std::lock_guard lock(mutex);
            isOver = true;
            ended.notify_one();
        }
    });
    layer.timelineDidChange({kCMTimeZero, clock->now() + milliseconds(50), 1},
                            SynchronizedRenderer::Change::jumped);
    {
        std::unique_lock lock(mutex);
        ASSERT_TRUE(ended.wait_for(lock, std::chrono::seconds(20), [&] { return isOver; }));
    }
    const auto statistics = layer.statistics();
    EXPECT_EQ(statistics.framesShown + statistics.framesDropped, kFrames);
    EXPECT_GE(statistics.framesShown, kFrames / 2U);
    RecordProperty("meanFrameErrorMicroseconds", static_cast<int>(statistics.meanFrameError * 1e3));
    RecordProperty("maxFrameErrorMicroseconds", static_cast<int>(statistics.maxFrameError * 1e3));
    queue->sync([] {});
}

/// A provider, the main thread and the clock call at the same time; afterwards the layer still
/// shows the result of the last seek.
TEST(DisplayLayerThread, worksAfterConcurrentCalls) {
    SampleBufferDisplayLayer layer;
    const auto presenter = std::make_shared<NullVideoPresenter>();
    const auto queue = dispatch::makeSerialQueue("frames");
    constexpr int kRounds = 500;
    std::thread owner([&] {
        for (int i = 0; i < kRounds; ++i) {
            layer.setPresenter(i % 3 == 0 ? nullptr : presenter);
            layer.setBounds({0, 0, 16.0 + i, 9});
            layer.statistics();
        }
    });
    std::thread clock([&] {
        for (int i = 0; i < kRounds; ++i) {
            layer.timelineDidChange({ms(i), HostClock::system()->now(), i % 2 == 0 ? 1.0 : 0.0},
                                    SynchronizedRenderer::Change::jumped);
        }
    });
    for (int i = 0; i < kRounds; ++i) {
        queue->sync([&] {
            layer.requestMediaDataWhenReady(
                queue, [&layer, i] { layer.enqueueSampleBuffer(sampleAt(i)); });
            layer.flush();
            layer.enqueueSampleBuffer(sampleAt(i));
            if (i % 10 == 0) {
                layer.flushAndRemoveImage();
                layer.stopRequestingMediaData();
            }
        });
    }
    owner.join();
    clock.join();
    queue->sync([&] { layer.stopRequestingMediaData(); });
    layer.flush();

    class LastFrame final : public VideoPresenter {
      public:
        void prepare(const PresentedFrame& /*frame*/) override {}
        void present(const PresentedFrame& frame, ShownHandler /*shown*/) override {
            if (frame.pixelBuffer->width() == 5001 && !std::exchange(isPresented_, true)) {
                presented.set_value();
            }
        }
        void removeImage() override {}
        HostDuration presentationDelay() const override { return HostDuration(0); }
        std::promise<void> presented;

      private:
        bool isPresented_ = false;
    };
    const auto last = std::make_shared<LastFrame>();
    layer.timelineDidChange({ms(5000), HostTime(0), 0}, SynchronizedRenderer::Change::jumped);
    layer.setPresenter(last);
    layer.enqueueSampleBuffer(sampleAt(5000));
    EXPECT_EQ(last->presented.get_future().wait_for(std::chrono::seconds(20)),
              std::future_status::ready);
}

} // namespace
} // namespace zelvane
