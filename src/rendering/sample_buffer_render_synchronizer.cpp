// SPDX-License-Identifier: GPL-3.0-or-later
#include "rendering/sample_buffer_render_synchronizer.h"

#include <algorithm>
#include <atomic>
#include <map>
#include <mutex>
#include <optional>
#include <utility>

#include "foundation/notification_center.h"
#include "rendering/observer_schedule.h"
#include "rendering/timeline_master.h"

namespace zelvane {
namespace {

/// Shared by the token of the caller and the calls that wait on queues.
struct TimeObserver {
    ObserverSchedule::Id id = 0;
    std::shared_ptr<dispatch::Queue> queue;
    std::function<void(const CMTime&)> block;
    std::atomic<bool> isRemoved{false};
};

void fire(const std::shared_ptr<TimeObserver>& observer, const CMTime& time) {
    const auto queue = observer->queue ? observer->queue : dispatch::mainQueue();
    queue->async([observer, time] {
        if (!observer->isRemoved) {
            observer->block(time);
        }
    });
}

double playableRate(float rate) {
    return rate > 0 ? static_cast<double>(rate) : 0.0;
}

} // namespace

/// Two locks: `changeMutex_` serializes changes and is held while renderers are called;
/// `stateMutex_` is held only to read or write the values, so that the time can be read from
/// anywhere.
class SampleBufferRenderSynchronizer::Core final : public TimelineControl {
  public:
    Core(std::shared_ptr<HostClock> hostClock, std::unique_ptr<WakeTimer> timer)
        : hostClock_(std::move(hostClock)), timer_(std::move(timer)) {
        timer_->setHandler([this] { wake(); });
    }

    /// A master may hold this object for the rest of a call after its owner was destroyed.
    void close() {
        const std::lock_guard change(changeMutex_);
        const std::lock_guard state(stateMutex_);
        observers_.clear();
        schedule_ = {};
        isWaiting_ = false;
        ++generation_;
        timer_->wakeAt(HostTime::max());
    }

    void attach(std::shared_ptr<SynchronizedRenderer> renderer,
                const std::shared_ptr<TimelineControl>& self) {
        const std::lock_guard change(changeMutex_);
        auto master = std::dynamic_pointer_cast<TimelineMaster>(renderer);
        if (master && !master_) {
            master_ = std::move(master);
            master_->setTimelineControl(self);
            // When the clock already runs, the master joins it.
            master_->timelineWillChange(
                {generation_, anchor_.timeAt(hostClock_->now()), anchor_.rate, std::nullopt});
        }
        renderer->timelineDidChange(anchor_, SynchronizedRenderer::Change::jumped);
        renderers_.push_back(std::move(renderer));
    }

    /// Returns whether the rate changed.
    bool setRate(double rate, const std::optional<CMTime>& time) {
        const std::lock_guard change(changeMutex_);
        const HostTime now = hostClock_->now();
        const bool rateChanges = rate != requestedRate_;
        if (!rateChanges && !time) {
            return false;
        }
        const TimelineRequest request{generation_ + 1, time.value_or(anchor_.timeAt(now)), rate,
                                      rate > 0 ? std::optional(now + startTimeout())
                                               : std::nullopt};
        {
            const std::lock_guard state(stateMutex_);
            generation_ = request.generation;
            requestedRate_ = rate;
        }
        const bool masterStarts = master_ && master_->timelineWillChange(request);
        waitUntil(masterStarts ? request.startsBy.value_or(HostTime::max()) : HostTime::max());
        moveTo({request.time, now, isWaiting_ ? 0 : rate},
               time ? SynchronizedRenderer::Change::jumped : SynchronizedRenderer::Change::rate,
               now);
        return rateChanges;
    }

    void begin(std::uint64_t generation, HostTime startsAt) override {
        const std::lock_guard change(changeMutex_);
        if (isWaiting_ && generation == generation_) {
            startWaiting(startsAt);
        }
    }

    void steer(std::uint64_t generation, double slope) override {
        const std::lock_guard change(changeMutex_);
        const HostTime now = hostClock_->now();
        // A start in the future stays as it is.
        if (generation != generation_ || anchor_.rate == 0 || now <= anchor_.hostTime) {
            return;
        }
        moveTo({anchor_.timeAt(now), now, slope}, SynchronizedRenderer::Change::steered, now);
    }

    void wake() {
        const std::lock_guard change(changeMutex_);
        const HostTime now = hostClock_->now();
        if (isWaiting_ && now >= startDeadline_) {
            startWaiting(now);
            return;
        }
        const std::lock_guard state(stateMutex_);
        fireAll(schedule_.advance(now));
        setAlarm();
    }

    double rate() const {
        const std::lock_guard state(stateMutex_);
        return requestedRate_;
    }

    CMTime currentTime() const {
        const std::lock_guard state(stateMutex_);
        return anchor_.timeAt(hostClock_->now());
    }

    template <class Schedule>
    TimeObserverToken addObserver(std::shared_ptr<dispatch::Queue> queue,
                                  std::function<void(const CMTime&)> block, Schedule&& schedule) {
        auto observer = std::make_shared<TimeObserver>();
        observer->queue = std::move(queue);
        observer->block = std::move(block);
        const std::lock_guard state(stateMutex_);
        const HostTime now = hostClock_->now();
        // The new observer is not called for times that were reached before.
        fireAll(schedule_.advance(now));
        observer->id = schedule(schedule_, now);
        observers_[observer->id] = observer;
        setAlarm();
        return observer;
    }

    void removeObserver(const TimeObserverToken& token) {
        const std::lock_guard state(stateMutex_);
        for (auto& [id, observer] : observers_) {
            if (observer == token) {
                observer->isRemoved = true;
                schedule_.remove(id);
                const auto keptUntilUnlocked = std::move(observer);
                observers_.erase(id);
                setAlarm();
                return;
            }
        }
    }

  private:
    /// Under changeMutex_.
    HostDuration startTimeout() const {
        const bool showsPicture =
            std::any_of(renderers_.begin(), renderers_.end(),
                        [](const auto& renderer) { return renderer->showsPicture(); });
        return showsPicture ? kStartTimeout : kSoundOnlyStartTimeout;
    }

    /// Under changeMutex_.
    void waitUntil(HostTime deadline) {
        const std::lock_guard state(stateMutex_);
        isWaiting_ = deadline != HostTime::max();
        startDeadline_ = deadline;
    }

    /// Under changeMutex_.
    void startWaiting(HostTime startsAt) {
        waitUntil(HostTime::max());
        moveTo({anchor_.time, startsAt, requestedRate_}, SynchronizedRenderer::Change::rate,
               hostClock_->now());
    }

    /// Under changeMutex_.
    void moveTo(const TimelineAnchor& anchor, SynchronizedRenderer::Change change, HostTime now) {
        {
            const std::lock_guard state(stateMutex_);
            anchor_ = anchor;
            fireAll(schedule_.timelineDidChange(anchor, change, now));
            setAlarm();
        }
        for (const auto& renderer : renderers_) {
            renderer->timelineDidChange(anchor, change);
        }
    }

    /// Under stateMutex_, so that firings reach their queues in order.
    void fireAll(const std::vector<ObserverSchedule::Firing>& firings) {
        for (const auto& firing : firings) {
            const auto found = observers_.find(firing.observer);
            if (found != observers_.end()) {
                fire(found->second, firing.time);
            }
        }
    }

    /// Under stateMutex_.
    void setAlarm() { timer_->wakeAt(std::min(schedule_.wakeTime(), startDeadline_)); }

    const std::shared_ptr<HostClock> hostClock_;

    std::mutex changeMutex_;
    std::vector<std::shared_ptr<SynchronizedRenderer>> renderers_;
    std::shared_ptr<TimelineMaster> master_;
    bool isWaiting_ = false;

    /// Locked after changeMutex_. The values below are written under both locks and read under
    /// either.
    mutable std::mutex stateMutex_;
    std::uint64_t generation_ = 0;
    double requestedRate_ = 0;
    TimelineAnchor anchor_;
    HostTime startDeadline_ = HostTime::max();
    ObserverSchedule schedule_;
    std::map<ObserverSchedule::Id, std::shared_ptr<TimeObserver>> observers_;
    /// The last member, destroyed first: its thread uses all of the above.
    std::unique_ptr<WakeTimer> timer_;
};

SampleBufferRenderSynchronizer::SampleBufferRenderSynchronizer(std::shared_ptr<HostClock> hostClock,
                                                               std::unique_ptr<WakeTimer> timer)
    : core_(std::make_shared<Core>(std::move(hostClock), std::move(timer))) {}

SampleBufferRenderSynchronizer::~SampleBufferRenderSynchronizer() {
    core_->close();
}

void SampleBufferRenderSynchronizer::addRenderer(std::shared_ptr<SynchronizedRenderer> renderer) {
    core_->attach(std::move(renderer), core_);
}

float SampleBufferRenderSynchronizer::rate() const {
    return static_cast<float>(core_->rate());
}

void SampleBufferRenderSynchronizer::setRate(float rate) {
    if (core_->setRate(playableRate(rate), std::nullopt)) {
        announceRate();
    }
}

void SampleBufferRenderSynchronizer::setRate(float rate, const CMTime& time) {
    if (core_->setRate(playableRate(rate), time)) {
        announceRate();
    }
}

void SampleBufferRenderSynchronizer::announceRate() const {
    NotificationCenter::shared().post({std::string(kRenderSynchronizerRateDidChangeNotification),
                                       static_cast<const RenderSynchronizer*>(this),
                                       {}});
}

CMTime SampleBufferRenderSynchronizer::currentTime() const {
    return core_->currentTime();
}

RenderSynchronizer::TimeObserverToken
SampleBufferRenderSynchronizer::addPeriodicTimeObserver(const CMTime& interval,
                                                        std::shared_ptr<dispatch::Queue> queue,
                                                        std::function<void(const CMTime&)> block) {
    return core_->addObserver(std::move(queue), std::move(block),
                              [&](ObserverSchedule& schedule, HostTime now) {
                                  return schedule.addPeriodic(interval, now);
                              });
}

RenderSynchronizer::TimeObserverToken
SampleBufferRenderSynchronizer::addBoundaryTimeObserver(std::vector<CMTime> times,
                                                        std::shared_ptr<dispatch::Queue> queue,
                                                        std::function<void()> block) {
    return core_->addObserver(
        std::move(queue), [block = std::move(block)](const CMTime&) { block(); },
        [&](ObserverSchedule& schedule, HostTime) {
            return schedule.addBoundary(std::move(times));
        });
}

void SampleBufferRenderSynchronizer::removeTimeObserver(const TimeObserverToken& token) {
    core_->removeObserver(token);
}

} // namespace zelvane
