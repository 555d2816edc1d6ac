// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <utility>

#include "core_media/ffmpeg_time.h"
#include "foundation/log.h"
#include "media_player/media_source/stepping_back.h"
#include "media_player/playback/visual_data_provider.h"

namespace zelvane {
namespace {

/// Decoding on so far costs no more than what lies between a key frame and its target elsewhere.
constexpr CMTime kNear(1, 2);
/// Who goes back less far goes back step by step.
constexpr CMTime kLongestStep(1, 1);
/// How often a search shows where it has come to.
constexpr HostDuration kProgressInterval = std::chrono::milliseconds(70);
/// A file with more than this at once is sought in anew each time.
constexpr std::size_t kMaxRecentSubtitles = 256;

/// Where the last `framesBefore` frames before the one of `target` begin, as far as packets tell;
/// what begins earlier is not looked at by anyone. None where a packet doesn't say when it is
/// shown.
std::optional<CMTime> earliestWantedTime(const std::vector<PacketRef>& packets, AVRational timeBase,
                                         const CMTime& target, std::size_t framesBefore) {
    std::vector<CMTime> times;
    for (const PacketRef& packet : packets) {
        const auto time = timeFromStamp(packet->avPacket().pts, timeBase);
        if (!time) {
            return std::nullopt;
        }
        if (*time <= target) {
            times.push_back(*time);
        }
    }
    if (times.size() <= framesBefore) {
        return std::nullopt;
    }
    const auto earliest = times.end() - 1 - static_cast<std::ptrdiff_t>(framesBefore);
    std::nth_element(times.begin(), earliest, times.end());
    return *earliest;
}

/// Tells a decoder what is wanted, and in the end that everything is.
class WantedTimes {
  public:
    explicit WantedTimes(CoreMediaCompatibleDecoder& decoder) : decoder_(decoder) {}
    ~WantedTimes() { decoder_.setEarliestWantedTime(std::nullopt); }
    WantedTimes(const WantedTimes&) = delete;
    WantedTimes& operator=(const WantedTimes&) = delete;
    void beginAt(const std::optional<CMTime>& time) const { decoder_.setEarliestWantedTime(time); }

  private:
    CoreMediaCompatibleDecoder& decoder_;
};

/// Whether a later one of the list stays for as long: it always wins.
bool isReplaced(SubtitlesFrames::const_iterator frame, const SubtitlesFrames& frames,
                const CMTime& time) {
    return (*frame)->endTime == kCMTimePositiveInfinity &&
           std::any_of(std::next(frame), frames.end(), [&](const auto& later) {
               return later->endTime == kCMTimePositiveInfinity && later->startTime <= time;
           });
}

SubtitlesFrames reachableFrom(const CMTime& time, const SubtitlesFrames& frames) {
    SubtitlesFrames reachable;
    for (auto frame = frames.begin(); frame != frames.end(); ++frame) {
        if ((*frame)->endTime > time && !isReplaced(frame, frames, time)) {
            reachable.push_back(*frame);
        }
    }
    return reachable;
}

} // namespace

void VisualDataProvider::forgetRecent() {
    recent_.clear();
    for (SubtitlesPosition& position : subtitles_) {
        position.recent.clear();
    }
    areRecentSubtitlesWhole_ = false;
}

bool VisualDataProvider::seekAmongRecent(const CMTime& time) {
    if (!areRecentSubtitlesWhole_ || (!enqueueRecent(time) && !decodeOn(time))) {
        return false;
    }
    recent_.endSeek();
    lastTarget_ = time;
    for (const SubtitlesPosition& position : subtitles_) {
        if (position.selectedTrack) {
            position.renderer->removeAllSubtitles();
        }
    }
    showRecentSubtitles(time);
    return true;
}

bool VisualDataProvider::enqueueRecent(const CMTime& time) {
    const auto frames = recent_.from(time);
    if (frames.empty()) {
        return false;
    }
    displayLayer_->flush();
    for (const CMSampleBufferRef& frame : frames) {
        feed()->enqueue(frame);
    }
    return true;
}

bool VisualDataProvider::decodeOn(const CMTime& time) {
    CMSampleBufferRef newest = recent_.newest();
    if (!newest || feed()->isFinished() || newest->presentationTimeStamp() > time) {
        return false;
    }
    PacketSource::CollectedPackets packets;
    if (time - newest->presentationTimeStamp() > kNear) {
        auto packetsOnTheWay = readOn(newest->presentationTimeStamp(), time);
        if (!packetsOnTheWay) {
            return false;
        }
        packets = std::move(*packetsOnTheWay);
        // Not all on the way are decoded.
        recent_.clear();
    }
    displayLayer_->flush();
    SeekAnswer answer = makeAnswer(time, true);
    // Not held longer than it may be the answer.
    answer.add(std::exchange(newest, nullptr));
    decodeUntilAnswered(packets, answer);
    return true;
}

std::optional<PacketSource::CollectedPackets> VisualDataProvider::readOn(const CMTime& from,
                                                                         const CMTime& time) const {
    try {
        return mediaSource_->visualTracksQueue()->sync([&] {
            return mediaSource_->readVisualOn(selectedVideoTrack_, selectedSubtitlesTracks(), from,
                                              time);
        });
    } catch (const std::exception& error) {
        logMessage("Failed to read packet from video/subtitles tracks: {}.",
                   errorDescriptionText(error));
        return std::nullopt;
    }
}

void VisualDataProvider::willSeekTracks() {
    forgetRecent();
    areRecentSubtitlesWhole_ = true;
    for (const SubtitlesPosition& position : subtitles_) {
        if (position.selectedTrack) {
            position.selectedTrack->decoder().flush();
            position.renderer->removeAllSubtitles();
        }
    }
}

void VisualDataProvider::seekTracks(const CMTime& time) {
    recent_.beginSeek();
    stepBackUntil(time, mediaSource_->startTime(),
                  [&](const CMTime& begin) { return decodeFrom(begin, time); });
    recent_.endSeek();
    lastTarget_ = time;
    showRecentSubtitles(time);
}

bool VisualDataProvider::decodeFrom(const CMTime& begin, const CMTime& time) {
    if (begin < time) {
        feed()->flush();
        willSeekTracks();
        requestMediaData();
    }
    const auto packets = collectPackets(begin);
    if (!packets) {
        return true;
    }
    SeekAnswer answer = makeAnswer(time, begin <= mediaSource_->startTime());
    decodeUntilAnswered(*packets, answer);
    return !answer.isTooLate() && answer.hasSeenPictures();
}

std::optional<PacketSource::CollectedPackets>
VisualDataProvider::collectPackets(const CMTime& time) const {
    try {
        return mediaSource_->visualTracksQueue()->sync([&] {
            return mediaSource_->seekVisual(selectedVideoTrack_, selectedSubtitlesTracks(), time);
        });
    } catch (const std::exception& error) {
        logMessage("Failed to seek visual tracks: {}.", errorDescriptionText(error));
        return std::nullopt;
    }
}

SeekAnswer VisualDataProvider::makeAnswer(const CMTime& time, bool takesLater) {
    isProgressShown_ = false;
    return {time, takesLater, [this](const CMSampleBufferRef& picture) {
                if (std::exchange(isProgressShown_, false)) {
                    showAlone(picture);
                } else {
                    feed()->enqueue(picture);
                }
            }};
}

/// Wherever the clock stands: the first picture after a flush is shown at once.
void VisualDataProvider::showAlone(const CMSampleBufferRef& picture) {
    displayLayer_->flush();
    feed()->enqueue(picture);
    progressShownAt_ = HostClock::system()->now();
}

bool VisualDataProvider::isProgressDue() const {
    return isScrubbing_ && HostClock::system()->now() - progressShownAt_ >= kProgressInterval;
}

/// Only who steps back is likely to do it again; for anybody else those frames cost time.
std::size_t VisualDataProvider::framesToKeepBefore(const CMTime& time) const {
    const bool isStep =
        lastTarget_.isNumeric() && time < lastTarget_ && lastTarget_ - time <= kLongestStep;
    return isStep ? recent_.capacityBefore() : 0;
}

void VisualDataProvider::decodeUntilAnswered(const PacketSource::CollectedPackets& packets,
                                             SeekAnswer& answer) {
    const WantedTimes wanted(feed()->decoder());
    std::optional<CMTime> earliest;
    const DecodeFeed::Diversion diversion(*feed(), [&](const CMSampleBufferRef& picture) {
        answer.add(picture);
        if (!answer.isFound() && isProgressDue()) {
            showAlone(picture);
            isProgressShown_ = true;
            wanted.beginAt(earliest);
        }
    });
    const FramesReceiver receiver = [this](std::size_t position, const SubtitlesFrames& frames) {
        keepForSeeking(position, frames);
    };
    for (const auto& [track, packetsOfTrack] : packets) {
        if (track == selectedVideoTrack_) {
            earliest = earliestWantedTime(packetsOfTrack, track->streamTimeBase(), answer.target(),
                                          framesToKeepBefore(answer.target()));
        }
        for (const PacketRef& packet : packetsOfTrack) {
            wanted.beginAt(isProgressDue() ? std::nullopt : earliest);
            route({packet, track}, receiver);
        }
    }
    while (!answer.isFound() && !answer.isTooLate()) {
        if (provideNext(receiver) == Feeding::isOver) {
            finishSearch(answer);
            return;
        }
    }
}

/// The file has ended.
void VisualDataProvider::finishSearch(SeekAnswer& answer) {
    stopRequestingMediaData();
    // The last pictures may have come with the end of the file.
    answer.finish();
    if (!answer.isFound()) {
        displayLayer_->flushAndRemoveImage();
    }
}

void VisualDataProvider::keepForSeeking(std::size_t position, const SubtitlesFrames& frames) {
    SubtitlesFrames& recent = subtitles_.at(position).recent;
    recent.insert(recent.end(), frames.begin(), frames.end());
}

void VisualDataProvider::forgetUnreachableSubtitles() {
    const CMSampleBufferRef oldest = recent_.oldest();
    for (SubtitlesPosition& position : subtitles_) {
        if (oldest) {
            position.recent = reachableFrom(oldest->presentationTimeStamp(), position.recent);
        }
        if (!oldest || position.recent.size() > kMaxRecentSubtitles) {
            forgetRecent();
            return;
        }
    }
}

void VisualDataProvider::showRecentSubtitles(const CMTime& time) const {
    for (std::size_t i = 0; i < subtitles_.size(); ++i) {
        const SubtitlesFrames& frames = subtitles_.at(i).recent;
        show(i, {firstRelevantFrame(frames, time), frames.cend()});
    }
}

} // namespace zelvane
