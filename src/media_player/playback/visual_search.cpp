// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/visual_search.h"

#include <algorithm>
#include <utility>

#include "core_media/ffmpeg_time.h"

namespace zelvane {
namespace {

/// The time of the frame that is `framesBefore` frames before the one of `target`, by the stamps of
/// the packets. None if a packet has no presentation stamp.
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

/// Removes the earliest wanted time of a decoder at the end of its life.
class WantedTimeReset {
  public:
    explicit WantedTimeReset(CoreMediaCompatibleDecoder& decoder) : decoder_(decoder) {}
    ~WantedTimeReset() { decoder_.setEarliestWantedTime(std::nullopt); }
    WantedTimeReset(const WantedTimeReset&) = delete;
    WantedTimeReset& operator=(const WantedTimeReset&) = delete;

  private:
    CoreMediaCompatibleDecoder& decoder_;
};

} // namespace

VisualSearch::VisualSearch(const Parts& parts, const Goal& goal,
                           VisualReader::FramesReceiver receiver)
    : parts_(parts), goal_(goal), receiver_(std::move(receiver)),
      answer_(goal.target, goal.takesLater, [progress = &parts.progress](const auto& picture) {
          progress->passAnswer(picture);
      }) {
    parts_.progress.beginSearch();
}

VisualReader::Reading VisualSearch::run(const PacketSource::CollectedPackets& packets) {
    const WantedTimeReset reset(parts_.feed.decoder());
    const DecodeFeed::Diversion diversion(
        parts_.feed, [this](const CMSampleBufferRef& picture) { receive(picture); });
    decode(packets);
    while (!answer_.isFound() && !answer_.isTooLate()) {
        const auto reading = parts_.reader.decodeNext(parts_.feed, receiver_);
        if (reading != VisualReader::Reading::continues) {
            // The last pictures may have been delivered at the end of the file.
            answer_.finish();
            return reading;
        }
    }
    return VisualReader::Reading::continues;
}

void VisualSearch::decode(const PacketSource::CollectedPackets& packets) {
    for (const auto& [track, packetsOfTrack] : packets) {
        if (track == parts_.reader.videoTrack()) {
            earliestWantedTime_ = earliestWantedTime(packetsOfTrack, track->streamTimeBase(),
                                                     goal_.target, goal_.framesToKeepBefore);
        }
        for (const PacketRef& packet : packetsOfTrack) {
            setWantedTime(parts_.progress.isDue() ? std::nullopt : earliestWantedTime_);
            parts_.reader.decode({packet, track}, parts_.feed, receiver_);
        }
    }
}

void VisualSearch::receive(const CMSampleBufferRef& picture) {
    // At the start of the file there is no earlier key frame.
    if (!goal_.takesLater && !parts_.feed.decoder().isClean()) {
        parts_.recent.clear();
        return;
    }
    answer_.add(picture);
    if (!answer_.isFound() && parts_.progress.isDue()) {
        parts_.progress.show(picture);
        setWantedTime(earliestWantedTime_);
    }
}

void VisualSearch::setWantedTime(const std::optional<CMTime>& time) const {
    parts_.feed.decoder().setEarliestWantedTime(time);
}

} // namespace zelvane
