// SPDX-License-Identifier: GPL-3.0-or-later
#include "rendering/sample_buffer_display_layer.h"

#include <pthread.h>

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <utility>

#include "rendering/media_data_request.h"

namespace zelvane {
namespace {

/// Timers are inexact and times are rounded: a frame within this distance of its time is due.
constexpr CMTime kDueTolerance{1, 1'000'000};
/// The minimum time between two services, so that inconsistent frame times do not make the thread
/// spin.
constexpr HostDuration kShortestWait = std::chrono::microseconds(100);

HostTime saturatingSum(HostTime time, HostDuration duration) {
    return time > HostTime::max() - duration ? HostTime::max() : time + duration;
}

/// The statistics, from the reports of presenters.
class ShownFrames {
  public:
    /// A frame is passed to the presenter; an earlier one that was not reported as shown is
    /// dropped. `due` is HostTime::max() while the clock is stopped. The same frame may be passed
    /// again, for another surface or shape.
    void willShow(std::uint64_t id, HostTime due, const CMTime& duration) {
        if (lastID_ == id) {
            return;
        }
        if (pendingID_ != 0) {
            ++statistics_.framesDropped;
        }
        lastID_ = pendingID_ = id;
        due_ = due;
        duration_ = duration;
    }
    void didShow(std::uint64_t id, HostTime shownAt) {
        if (pendingID_ != id) {
            return;
        }
        pendingID_ = 0;
        ++statistics_.framesShown;
        if (!statistics_.firstFrameShownAt) {
            statistics_.firstFrameShownAt = shownAt;
        }
        if (due_ != HostTime::max()) {
            noteError(shownAt - due_);
        }
    }
    void drop(std::size_t count) { statistics_.framesDropped += count; }
    /// The frame that was not reported yet does not count.
    void forgetPending() { pendingID_ = 0; }

    SampleBufferDisplayLayer::Statistics statistics() const {
        auto copy = statistics_;
        copy.meanFrameError = timedFrames_ == 0 ? 0 : sumOfErrors_ / timedFrames_;
        return copy;
    }

  private:
    void noteError(HostDuration lateness) {
        const double error = std::abs(static_cast<double>(lateness.count())) / 1e6;
        sumOfErrors_ += error;
        timedFrames_ += 1;
        statistics_.maxFrameError = std::max(statistics_.maxFrameError, error);
        const double half = duration_.seconds() * 1e9 / 2;
        if (duration_.isNumeric() && static_cast<double>(lateness.count()) > half) {
            ++statistics_.framesLate;
        }
    }

    SampleBufferDisplayLayer::Statistics statistics_;
    double sumOfErrors_ = 0;
    double timedFrames_ = 0;
    std::uint64_t lastID_ = 0;
    /// Presented and not yet reported as shown; 0 for none.
    std::uint64_t pendingID_ = 0;
    HostTime due_ = HostTime::max();
    CMTime duration_;
};

} // namespace

/// The state of the layer. Tasks on other queues and presenters refer to it weakly.
class SampleBufferDisplayLayer::Core : public std::enable_shared_from_this<Core> {
  public:
    Core(std::shared_ptr<HostClock> clock, const FrameSchedule::Limits& limits)
        : clock_(std::move(clock)), schedule_(limits) {}

    /// Runs `body` under the lock and wakes the thread.
    template <class Body>
    void change(const Body& body) {
        {
            const std::lock_guard lock(mutex_);
            body(*this);
            isDirty_ = true;
        }
        wakeUp_.notify_one();
    }
    template <class Body>
    auto read(const Body& body) const {
        const std::lock_guard lock(mutex_);
        return body(*this);
    }

    bool isReady() const {
        return read([](const Core& core) { return core.schedule_.isReadyForMore(); });
    }
    /// Replaces the request; `request` may be null.
    void setRequest(std::shared_ptr<MediaDataRequest> request) {
        change([&](Core& core) { core.request_.swap(request); });
        if (request) {
            request->cancel();
        }
    }

    HostTime service();
    void runThread();

    std::shared_ptr<HostClock> clock_;
    mutable std::mutex mutex_;
    std::condition_variable wakeUp_;
    bool isDirty_ = false;
    bool isEnding_ = false;

    FrameSchedule schedule_;
    TimelineAnchor anchor_;
    CGRect bounds_;
    CGAffineTransform transform_;
    std::shared_ptr<VideoPresenter> presenter_;
    std::shared_ptr<MediaDataRequest> request_;
    ShownFrames shownFrames_;
    /// The shown frame must be drawn again: its shape or the surface changed.
    bool mustPresent_ = false;
    bool mustRemoveImage_ = false;
    std::uint64_t preparedID_ = 0;

  private:
    /// Work to do without the lock.
    struct Work {
        bool removeImage = false;
        std::optional<FrameSchedule::Frame> present;
        std::optional<FrameSchedule::Frame> prepare;
        std::shared_ptr<MediaDataRequest> request;
        CGRect bounds;
        CGAffineTransform transform;
    };

    Work plan(HostTime now, HostDuration delay);
    void planPicture(HostTime seenAt, Work& work);
    void perform(const Work& work, const std::shared_ptr<VideoPresenter>& presenter);
    FrameSchedule::Deadline deadlineAt(HostTime seenAt) const;
    HostTime dueTime(const CMTime& time) const;
    HostTime nextServiceTime(HostTime now, HostDuration delay) const;
};

HostTime SampleBufferDisplayLayer::Core::service() {
    const auto presenter = read([](const Core& core) { return core.presenter_; });
    const auto delay = presenter ? presenter->presentationDelay() : HostDuration(0);
    Work work;
    {
        const std::lock_guard lock(mutex_);
        isDirty_ = false;
        if (presenter_ != presenter) {
            isDirty_ = true;
            return clock_->now();
        }
        work = plan(clock_->now(), delay);
    }
    perform(work, presenter);
    const std::lock_guard lock(mutex_);
    return nextServiceTime(clock_->now(), delay);
}

SampleBufferDisplayLayer::Core::Work SampleBufferDisplayLayer::Core::plan(HostTime now,
                                                                          HostDuration delay) {
    Work work;
    work.bounds = bounds_;
    work.transform = transform_;
    planPicture(now + delay, work);
    work.request = request_;
    return work;
}

void SampleBufferDisplayLayer::Core::planPicture(HostTime seenAt, Work& work) {
    const auto deadline = deadlineAt(seenAt);
    const auto choice = schedule_.advance(deadline);
    shownFrames_.drop(choice.dropped);
    work.removeImage = std::exchange(mustRemoveImage_, false) && !schedule_.shown();
    const bool mustPresent = std::exchange(mustPresent_, false);
    if (schedule_.shown() && (choice.shownChanged || mustPresent)) {
        work.present = schedule_.shown();
    }
    if (work.present && presenter_) {
        const bool hasDueTime = choice.shownChanged && deadline.isRunning;
        const auto due = hasDueTime ? anchor_.hostTimeOf(work.present->time) : HostTime::max();
        shownFrames_.willShow(work.present->id, due, schedule_.shownDuration());
    }
    if (const auto* next = schedule_.next(); next != nullptr && next->id != preparedID_) {
        preparedID_ = next->id;
        work.prepare = *next;
    }
}

void SampleBufferDisplayLayer::Core::perform(const Work& work,
                                             const std::shared_ptr<VideoPresenter>& presenter) {
    if (presenter && work.removeImage) {
        presenter->removeImage();
    }
    if (presenter && work.present) {
        const auto id = work.present->id;
        presenter->present({work.present->picture, work.bounds, work.transform},
                           [weak = weak_from_this(), id](HostTime shownAt) {
                               if (const auto core = weak.lock()) {
                                   const std::lock_guard lock(core->mutex_);
                                   core->shownFrames_.didShow(id, shownAt);
                               }
                           });
    }
    if (presenter && work.prepare) {
        presenter->prepare({work.prepare->picture, work.bounds, work.transform});
    }
    if (work.request) {
        work.request->poll();
    }
}

FrameSchedule::Deadline SampleBufferDisplayLayer::Core::deadlineAt(HostTime seenAt) const {
    const bool isRunning = anchor_.rate != 0 && seenAt > anchor_.hostTime;
    const auto time = anchor_.timeAt(seenAt);
    return {isRunning ? time + kDueTolerance : time, isRunning};
}

HostTime SampleBufferDisplayLayer::Core::dueTime(const CMTime& time) const {
    return time <= anchor_.time && anchor_.rate != 0 ? anchor_.hostTime : anchor_.hostTimeOf(time);
}

HostTime SampleBufferDisplayLayer::Core::nextServiceTime(HostTime now, HostDuration delay) const {
    if (isDirty_) {
        return now;
    }
    HostTime wanted = HostTime::max();
    if (const auto* next = schedule_.next()) {
        if (const auto due = dueTime(next->time); due != HostTime::max()) {
            wanted = std::max(due - delay, now + kShortestWait);
        }
    }
    return wanted;
}

void SampleBufferDisplayLayer::Core::runThread() {
    pthread_setname_np(pthread_self(), "Display Layer");
    HostTime wanted{0};
    while (true) {
        {
            std::unique_lock lock(mutex_);
            const auto isWanted = [this] { return isDirty_ || isEnding_; };
            // wait_until(max) overflows in some libraries.
            const auto horizon = saturatingSum(clock_->now(), std::chrono::hours(1));
            const std::chrono::steady_clock::time_point until(std::min(wanted, horizon));
            wakeUp_.wait_until(lock, until, isWanted);
            if (isEnding_) {
                return;
            }
        }
        wanted = service();
    }
}

SampleBufferDisplayLayer::SampleBufferDisplayLayer(std::shared_ptr<HostClock> clock, Drive drive,
                                                   const FrameSchedule::Limits& limits)
    : core_(std::make_shared<Core>(std::move(clock), limits)) {
    if (drive == Drive::ownThread) {
        thread_ = std::thread([core = core_] { core->runThread(); });
    }
}

SampleBufferDisplayLayer::~SampleBufferDisplayLayer() {
    stopRequestingMediaData();
    core_->change([](Core& core) { core.isEnding_ = true; });
    if (thread_.joinable()) {
        thread_.join();
    }
}

void SampleBufferDisplayLayer::enqueueSampleBuffer(CMSampleBufferRef sampleBuffer) {
    const auto& picture = sampleBuffer->imageBuffer();
    if (picture == nullptr) {
        return;
    }
    core_->change([&](Core& core) {
        core.schedule_.add({sampleBuffer->presentationTimeStamp(), sampleBuffer->duration(),
                            picture->dataSize(), picture});
    });
}

bool SampleBufferDisplayLayer::isReadyForMoreMediaData() const {
    return core_->isReady();
}

void SampleBufferDisplayLayer::requestMediaDataWhenReady(std::shared_ptr<dispatch::Queue> queue,
                                                         dispatch::Task block) {
    core_->setRequest(std::make_shared<MediaDataRequest>(std::move(queue), std::move(block),
                                                         [weak = std::weak_ptr(core_)] {
                                                             const auto core = weak.lock();
                                                             return core && core->isReady();
                                                         }));
}

void SampleBufferDisplayLayer::stopRequestingMediaData() {
    core_->setRequest(nullptr);
}

void SampleBufferDisplayLayer::flush() {
    core_->change([](Core& core) { core.schedule_.flush(); });
}

void SampleBufferDisplayLayer::flushAndRemoveImage() {
    core_->change([](Core& core) {
        core.schedule_.clear();
        core.shownFrames_.forgetPending();
        core.mustRemoveImage_ = true;
    });
}

void SampleBufferDisplayLayer::setBounds(const CGRect& bounds) {
    core_->change([&](Core& core) {
        core.mustPresent_ = core.mustPresent_ || core.bounds_ != bounds;
        core.bounds_ = bounds;
    });
}

void SampleBufferDisplayLayer::setAffineTransform(const CGAffineTransform& transform) {
    core_->change([&](Core& core) {
        core.mustPresent_ = core.mustPresent_ || core.transform_ != transform;
        core.transform_ = transform;
    });
}

void SampleBufferDisplayLayer::timelineDidChange(const TimelineAnchor& anchor, Change /*change*/) {
    core_->change([&](Core& core) { core.anchor_ = anchor; });
}

bool SampleBufferDisplayLayer::showsPicture() const {
    // A queued frame is shown at once: the clock may start before the layer's thread has done it.
    return core_->read([](const Core& core) {
        return core.schedule_.shown().has_value() || core.schedule_.next() != nullptr;
    });
}

void SampleBufferDisplayLayer::setPresenter(std::shared_ptr<VideoPresenter> presenter) {
    core_->change([&](Core& core) {
        core.presenter_.swap(presenter);
        core.mustPresent_ = true;
        core.preparedID_ = 0;
    });
}

SampleBufferDisplayLayer::Statistics SampleBufferDisplayLayer::statistics() const {
    return core_->read([](const Core& core) { return core.shownFrames_.statistics(); });
}

HostTime SampleBufferDisplayLayer::service() {
    return core_->service();
}

} // namespace zelvane
