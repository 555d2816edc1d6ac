// SPDX-License-Identifier: GPL-3.0-or-later
#include "rendering/sample_buffer_display_layer.h"

#include <pthread.h>

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <utility>

namespace zelvane {
namespace {

/// A provider that gave nothing though there is room is asked again after this while: it has
/// perhaps only given way to a seek.
constexpr HostDuration kIdleRequestInterval = std::chrono::milliseconds(5);
/// Timers fire a little early or late, and times are rounded: a frame so close to its time is due.
constexpr CMTime kDueTolerance{1, 1'000'000};
/// No frame comes sooner than this after another; keeps a broken line of time from spinning.
constexpr HostDuration kShortestWait = std::chrono::microseconds(100);

HostTime saturatingSum(HostTime time, HostDuration duration) {
    return time > HostTime::max() - duration ? HostTime::max() : time + duration;
}

/// A provider's wish to be called whenever there is room.
struct Request {
    std::shared_ptr<dispatch::Queue> queue;
    dispatch::Task block;
    /// From when on the block may be called; not at all while a call is under way.
    HostTime notBefore{0};
    bool isUnderWay = false;
};

/// Counts what was seen, by what presenters tell.
class ShownFrames {
  public:
    /// A frame goes to the presenter; the one before it, if it was not heard of, never will be.
    /// `due` is HostTime::max() for a frame that is shown while the clock stands.
    /// Drawn again, on another surface or in another shape, it is no other frame.
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
    /// What was not heard of yet is no longer wanted.
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
    /// Presented and not yet heard of; 0 for none.
    std::uint64_t pendingID_ = 0;
    HostTime due_ = HostTime::max();
    CMTime duration_;
};

} // namespace

/// All of the layer but its thread; tasks on other queues and presenters hold it weakly.
class SampleBufferDisplayLayer::Core : public std::enable_shared_from_this<Core> {
  public:
    Core(std::shared_ptr<HostClock> clock, const FrameSchedule::Limits& limits)
        : clock_(std::move(clock)), schedule_(limits) {}

    /// Runs `body` under the lock and has the thread look at what it means.
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
    std::shared_ptr<Request> request_;
    ShownFrames shownFrames_;
    std::uint64_t enqueuedCount_ = 0;
    /// The picture on the surface is not what it should be, though no other frame is due.
    bool mustPresent_ = false;
    bool mustRemoveImage_ = false;
    std::uint64_t preparedID_ = 0;

  private:
    /// What is to be done outside the lock.
    struct Work {
        bool removeImage = false;
        std::optional<FrameSchedule::Frame> present;
        std::optional<FrameSchedule::Frame> prepare;
        std::shared_ptr<Request> request;
        CGRect bounds;
        CGAffineTransform transform;
    };

    Work plan(HostTime now, HostDuration delay);
    void planPicture(HostTime seenAt, Work& work);
    void planRequest(HostTime now, Work& work);
    void perform(const Work& work, const std::shared_ptr<VideoPresenter>& presenter);
    void callBlock(const std::shared_ptr<Request>& request);
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
    planRequest(now, work);
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

void SampleBufferDisplayLayer::Core::planRequest(HostTime now, Work& work) {
    if (request_ && !request_->isUnderWay && now >= request_->notBefore &&
        schedule_.isReadyForMore()) {
        request_->isUnderWay = true;
        work.request = request_;
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
        work.request->queue->async([weak = weak_from_this(), request = work.request] {
            if (const auto core = weak.lock()) {
                core->callBlock(request);
            }
        });
    }
}

/// On the queue of the request.
void SampleBufferDisplayLayer::Core::callBlock(const std::shared_ptr<Request>& request) {
    std::uint64_t countBefore = 0;
    {
        const std::lock_guard lock(mutex_);
        if (request_ != request) {
            return;
        }
        countBefore = enqueuedCount_;
    }
    request->block();
    change([&](Core& core) {
        const bool gaveSomething = core.enqueuedCount_ != countBefore;
        request->notBefore = gaveSomething ? HostTime(0) : clock_->now() + kIdleRequestInterval;
        request->isUnderWay = false;
    });
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
    if (request_ && !request_->isUnderWay && schedule_.isReadyForMore()) {
        wanted = std::min(wanted, std::max(request_->notBefore, now));
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
            // A wait for the end of time overflows in some libraries.
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
        ++core.enqueuedCount_;
        core.schedule_.add({sampleBuffer->presentationTimeStamp(), sampleBuffer->duration(),
                            picture->dataSize(), picture});
    });
}

bool SampleBufferDisplayLayer::isReadyForMoreMediaData() const {
    return core_->read([](const Core& core) { return core.schedule_.isReadyForMore(); });
}

void SampleBufferDisplayLayer::requestMediaDataWhenReady(std::shared_ptr<dispatch::Queue> queue,
                                                         dispatch::Task block) {
    auto request = std::make_shared<Request>();
    request->queue = std::move(queue);
    request->block = std::move(block);
    core_->change([&](Core& core) { core.request_.swap(request); });
}

void SampleBufferDisplayLayer::stopRequestingMediaData() {
    std::shared_ptr<Request> ended;
    core_->change([&](Core& core) { core.request_.swap(ended); });
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
