// SPDX-License-Identifier: GPL-3.0-or-later
#include "rendering/device_audio_player.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace zelvane {
namespace {

using std::chrono::milliseconds;

/// The silence, in seconds, that is written first when sound joins a running clock. Sinks read up
/// to that much at once.
constexpr double kJoinSilence = 0.2;
/// In seconds. While the device has more than this to play, missing sound can still arrive.
constexpr double kReserve = 0.08;
/// A device that has played only silence for this long is stopped, so that it can sleep.
constexpr HostDuration kSilenceBeforeSleep = std::chrono::seconds(2);
/// In seconds. A larger error means that the device was interrupted: the sound joins the clock
/// again.
constexpr double kInterruption = 0.05;
/// Shorter intervals would measure jitter only.
constexpr HostDuration kSteeringInterval = milliseconds(100);
/// The clock approaches the device with this time constant, in seconds, and changes its rate by at
/// most kMaximumSteering, which is not visible.
constexpr double kSteeringSeconds = 1;
constexpr double kMaximumSteering = 0.01;
constexpr std::size_t kFramesPerWrite = 1024;
/// Smaller changes of the slope are not passed on.
constexpr double kSlopeStep = 2e-5;

} // namespace

DeviceAudioPlayer::DeviceAudioPlayer(AudioOutput& output, Source& source,
                                     std::shared_ptr<HostClock> hostClock)
    : output_(output), source_(source), hostClock_(std::move(hostClock)) {}

void DeviceAudioPlayer::service(const std::vector<AudioOutput::Event>& events,
                                const Situation& situation) {
    for (const auto event : events) {
        handle(event);
    }
    const auto old = std::exchange(situation_, situation);
    const bool changes = old.request.generation != situation.request.generation;
    if (changes || old.flushCount != situation.flushCount) {
        halt();
    }
    if (phase_ == Phase::idle) {
        considerStart();
    }
    switch (phase_) {
    case Phase::idle:
        considerJoin();
        break;
    case Phase::starting:
        continueStarting();
        break;
    case Phase::joining:
        continueJoining();
        break;
    case Phase::playing:
        continuePlaying();
        break;
    }
}

void DeviceAudioPlayer::handle(AudioOutput::Event event) {
    switch (event) {
    case AudioOutput::Event::needsService:
    case AudioOutput::Event::volumeChanged:
        return;
    case AudioOutput::Event::underflowed:
        if (phase_ == Phase::idle) {
            return;
        }
        ++statistics_.underruns;
        break;
    case AudioOutput::Event::moved:
    case AudioOutput::Event::lost:
        if (phase_ == Phase::idle) {
            return;
        }
        source_.soundWasLost(clockTime());
        break;
    case AudioOutput::Event::settled:
        break;
    }
    if (phase_ == Phase::starting) {
        beginWithoutSound();
    }
    halt();
}

void DeviceAudioPlayer::halt() {
    phase_ = Phase::idle;
    releaseClock();
    chain_.reset();
    output_.stop();
    output_.flush();
    framesWritten_ = 0;
    latestMeasurement_.reset();
}

/// Without a device to follow, the clock runs at exactly the requested rate.
void DeviceAudioPlayer::releaseClock() {
    const double rate = situation_.request.rate;
    const auto control = source_.control();
    if (control && clockRuns() && rate > 0 && source_.anchor().rate != rate) {
        control->steer(situation_.request.generation, rate);
    }
}

void DeviceAudioPlayer::beginWithoutSound() {
    if (const auto control = source_.control()) {
        control->begin(situation_.request.generation, hostClock_->now());
    }
}

bool DeviceAudioPlayer::clockRuns() const {
    return source_.anchor().rate > 0;
}

CMTime DeviceAudioPlayer::clockTime() const {
    return source_.anchor().timeAt(hostClock_->now());
}

CMTime DeviceAudioPlayer::mediaTimeOf(double frame) const {
    const double seconds = (frame - lineFrame_) * situation_.request.rate / format_.sampleRate;
    return lineTime_ + CMTime(std::llround(seconds * 1e9), 1'000'000'000);
}

void DeviceAudioPlayer::considerStart() {
    if (!situation_.request.startsBy || clockRuns()) {
        return;
    }
    const auto state = output_.state();
    if (state == AudioOutput::State::opening) {
        return;
    }
    if (state == AudioOutput::State::ready && source_.hasDataAfter(situation_.request.time)) {
        startFilled();
    } else {
        beginWithoutSound();
    }
}

void DeviceAudioPlayer::prepare() {
    format_ = output_.format();
    estimate_ = LinearClockEstimate(format_.sampleRate);
    isStarved_ = false;
    silentSince_.reset();
}

/// Makes the chain whose first frame is the device's frame `frame` and has the sound of `time`.
void DeviceAudioPlayer::placeSound(const CMTime& time, std::int64_t frame) {
    lineTime_ = time;
    lineFrame_ = static_cast<double>(frame);
    chain_ = std::make_unique<AudioRenderChain>(format_, lineTime_, situation_.request.rate,
                                                situation_.algorithm);
}

void DeviceAudioPlayer::startFilled() {
    prepare();
    placeSound(situation_.request.time, 0);
    phase_ = Phase::starting;
    fill(true);
    output_.start();
}

void DeviceAudioPlayer::continueStarting() {
    measure();
    const bool isKnown = !estimate_.isEmpty();
    const bool isTooLate = isKnown && estimate_.hostTimeOf(0) > situation_.request.startsBy;
    if (isTooLate && !clockRuns()) {
        beginWithoutSound();
    }
    if (clockRuns()) {
        halt();
        considerJoin();
    } else if (isKnown) {
        phase_ = Phase::playing;
        if (const auto control = source_.control()) {
            control->begin(situation_.request.generation, estimate_.hostTimeOf(0));
        }
        refill();
    }
}

void DeviceAudioPlayer::considerJoin() {
    if (clockRuns() && output_.state() == AudioOutput::State::ready &&
        source_.hasDataAfter(clockTime())) {
        join();
    }
}

void DeviceAudioPlayer::join() {
    ++statistics_.joins;
    prepare();
    phase_ = Phase::joining;
    const auto silence = static_cast<std::size_t>(kJoinSilence * format_.sampleRate);
    writeSilence(std::max(output_.writableFrames(), silence));
    output_.start();
}

void DeviceAudioPlayer::continueJoining() {
    measure();
    if (estimate_.isEmpty()) {
        return;
    }
    const double missing = kReserve * format_.sampleRate - framesAhead();
    if (missing > 0) {
        writeSilence(static_cast<std::size_t>(std::ceil(missing)));
    }
    const HostTime heardAt = estimate_.hostTimeOf(static_cast<double>(framesWritten_));
    placeSound(source_.anchor().timeAt(heardAt), framesWritten_);
    phase_ = Phase::playing;
    refill();
}

void DeviceAudioPlayer::continuePlaying() {
    measure();
    steer();
    if (phase_ == Phase::playing) {
        refill();
    }
}

void DeviceAudioPlayer::measure() {
    const auto position = output_.position();
    if (position && (!latestMeasurement_ || position->hostTime > *latestMeasurement_)) {
        latestMeasurement_ = position->hostTime;
        estimate_.add(position->frame, position->hostTime);
    }
}

double DeviceAudioPlayer::framesAhead() const {
    return static_cast<double>(framesWritten_) - estimate_.frameAt(hostClock_->now());
}

/// Writes the sound that there is. If it is not enough, silence is written only when the device is
/// about to run dry, so that frames keep their relation to media time.
void DeviceAudioPlayer::refill() {
    const HostTime now = hostClock_->now();
    if (fill(false)) {
        isStarved_ = false;
        silentSince_.reset();
    }
    if (framesAhead() > kReserve * format_.sampleRate) {
        return;
    }
    if (!isStarved_ && source_.expectsMore()) {
        ++statistics_.underruns;
    }
    isStarved_ = true;
    silentSince_ = silentSince_.value_or(now);
    if (now - *silentSince_ > kSilenceBeforeSleep) {
        halt();
        return;
    }
    fill(true);
}

/// Returns whether there was sound. Writes in small steps, so that a device that is about to run
/// dry need not wait until all of its buffer has been made.
bool DeviceAudioPlayer::fill(bool fillsSilence) {
    bool hasRead = false;
    const auto reader = [&](AudioQueue::Cursor& cursor, std::int64_t maxFrames) {
        auto chunk = source_.read(cursor, maxFrames);
        hasRead = hasRead || chunk.has_value();
        return chunk;
    };
    const auto channels = static_cast<std::size_t>(format_.channelCount());
    auto room = output_.writableFrames();
    while (room > 0) {
        const auto wanted = std::min(room, kFramesPerWrite);
        scratch_.resize(wanted * channels);
        const auto made = chain_->render(reader, scratch_, fillsSilence);
        write(made);
        if (made < wanted) {
            break;
        }
        room -= made;
    }
    return hasRead;
}

void DeviceAudioPlayer::writeSilence(std::size_t frames) {
    scratch_.assign(frames * static_cast<std::size_t>(format_.channelCount()), 0.0F);
    write(frames);
}

void DeviceAudioPlayer::write(std::size_t frames) {
    if (frames > 0) {
        output_.write(
            std::span(scratch_).first(frames * static_cast<std::size_t>(format_.channelCount())));
        framesWritten_ += static_cast<std::int64_t>(frames);
    }
}

void DeviceAudioPlayer::steer() {
    const TimelineAnchor anchor = source_.anchor();
    if (!latestMeasurement_ || *latestMeasurement_ < anchor.hostTime ||
        *latestMeasurement_ - steeredAt_ < kSteeringInterval) {
        return;
    }
    const HostTime now = *latestMeasurement_;
    const CMTime heard = mediaTimeOf(estimate_.frameAt(now));
    const double clockAhead = (anchor.timeAt(now) - heard).seconds();
    noteClockError(std::abs(clockAhead));
    if (std::abs(clockAhead) > kInterruption * situation_.request.rate) {
        halt();
        considerJoin();
    } else {
        steerBy(clockAhead);
    }
    steeredAt_ = now;
}

void DeviceAudioPlayer::steerBy(double clockAhead) {
    const double rate = situation_.request.rate;
    const double heardSlope = rate * estimate_.rate() / format_.sampleRate;
    const double slope = std::clamp(heardSlope - clockAhead / kSteeringSeconds,
                                    rate * (1 - kMaximumSteering), rate * (1 + kMaximumSteering));
    const auto control = source_.control();
    if (control && std::abs(slope - source_.anchor().rate) > kSlopeStep * rate) {
        control->steer(situation_.request.generation, slope);
    }
}

void DeviceAudioPlayer::noteClockError(double error) {
    ++statistics_.clockErrorCount;
    statistics_.maxClockError = std::max(statistics_.maxClockError, error);
    statistics_.meanClockError +=
        (error - statistics_.meanClockError) / static_cast<double>(statistics_.clockErrorCount);
}

} // namespace zelvane
