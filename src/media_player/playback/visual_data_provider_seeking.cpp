// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>

#include "core_media/ffmpeg_time.h"
#include "foundation/log.h"
#include "media_player/media_source/stepping_back.h"
#include "media_player/playback/visual_data_provider.h"

namespace zelvane {
namespace {

/// Decoding on so far costs no more than what lies between a key frame and its target elsewhere.
constexpr CMTime kNear(1, 2);
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
    const CMSampleBufferRef newest = recent_.newest();
    if (!newest || feed()->isFinished() || newest->presentationTimeStamp() > time ||
        time - newest->presentationTimeStamp() > kNear) {
        return false;
    }
    displayLayer_->flush();
    SeekAnswer answer = makeAnswer(time, true);
    answer.add(newest);
    decodeUntilAnswered({}, answer);
    return true;
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

SeekAnswer VisualDataProvider::makeAnswer(const CMTime& time, bool takesLater) const {
    return {time, takesLater,
            [this](const CMSampleBufferRef& picture) { feed()->enqueue(picture); }};
}

void VisualDataProvider::decodeUntilAnswered(const PacketSource::CollectedPackets& packets,
                                             SeekAnswer& answer) {
    const DecodeFeed::Diversion diversion(
        *feed(), [&](const CMSampleBufferRef& picture) { answer.add(picture); });
    const FramesReceiver receiver = [this](std::size_t position, const SubtitlesFrames& frames) {
        keepForSeeking(position, frames);
    };
    const WantedTimes wanted(feed()->decoder());
    for (const auto& [track, packetsOfTrack] : packets) {
        if (track == selectedVideoTrack_) {
            wanted.beginAt(earliestWantedTime(packetsOfTrack, track->streamTimeBase(),
                                              answer.target(), recent_.capacityBefore()));
        }
        for (const PacketRef& packet : packetsOfTrack) {
            route({packet, track}, receiver);
        }
    }
    while (!answer.isFound() && !answer.isTooLate()) {
        if (provideNext(receiver) == Feeding::isOver) {
            stopRequestingMediaData();
            // The last pictures may have come with the end of the file.
            answer.finish();
            if (!answer.isFound()) {
                displayLayer_->flushAndRemoveImage();
            }
            return;
        }
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
