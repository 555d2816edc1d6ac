// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/visual_data_provider.h"

#include <utility>

#include "media_player/media_source/stepping_back.h"

namespace zelvane {
namespace {

/// Decoding this far costs no more than decoding from a key frame does on average.
constexpr CMTime kNear(1, 2);
/// A seek back by no more than this is taken for a step.
constexpr CMTime kLongestStep(1, 1);

} // namespace

VisualDataProvider::VisualDataProvider(
    std::shared_ptr<PacketSource> mediaSource, std::shared_ptr<VideoRendering> displayLayer,
    std::shared_ptr<SubtitlesRenderer> primarySubtitlesRenderer,
    std::shared_ptr<SubtitlesRenderer> secondarySubtitlesRenderer)
    : DataProvider("Visual Data Provider Queue", displayLayer), reader_(std::move(mediaSource)),
      displayLayer_(std::move(displayLayer)), subtitles_{{{std::move(primarySubtitlesRenderer)},
                                                          {std::move(secondarySubtitlesRenderer)}}},
      progress_(displayLayer_) {}

void VisualDataProvider::setVideoTrack(std::shared_ptr<VideoTrack> track) {
    reader_.setVideoTrack(std::move(track));
    forgetRecent();
    setDecoder(reader_.videoTrack() ? &reader_.videoTrack()->decoder() : nullptr);
    // A new track must not show the last picture of the old one.
    displayLayer_->flushAndRemoveImage();
    configureLayer();
    stopRequestingMediaData();
    if (reader_.videoTrack()) {
        requestMediaData();
    }
}

void VisualDataProvider::configureLayer() const {
    CGRect bounds;
    CGAffineTransform transform = kCGAffineTransformIdentity;
    if (const auto& track = reader_.videoTrack()) {
        const VideoDimensions& dimensions = track->dimensions();
        bounds.width = dimensions.squarePixelSize.width;
        bounds.height = dimensions.squarePixelSize.height;
        transform = dimensions.displayTransform.value_or(kCGAffineTransformIdentity);
    }
    displayLayer_->setBounds(bounds);
    displayLayer_->setAffineTransform(transform);
}

void VisualDataProvider::setSubtitlesTrack(SubtitlesPosition position,
                                           std::shared_ptr<SubtitlesTrack> track) {
    reader_.setSubtitlesTrack(position, std::move(track));
    // Its earlier packets were not read.
    forgetRecent();
    display(position).renderer->removeAllSubtitles();
}

VisualDataProvider::SubtitlesDisplay& VisualDataProvider::display(SubtitlesPosition position) {
    return subtitles_.at(static_cast<std::size_t>(position));
}

void VisualDataProvider::forgetRecent() {
    recent_.clear();
    for (SubtitlesDisplay& display : subtitles_) {
        display.recent.clear();
    }
    areRecentSubtitlesWhole_ = false;
}

DataProvider::Feeding VisualDataProvider::provideNext() {
    const auto reading = reader_.decodeNext(
        *feed(), [this](SubtitlesPosition position, const SubtitlesFrames& frames) {
            keepInPlayback(position, frames);
            SubtitlesRenderer::sendFrames(display(position).renderer, frames);
        });
    if (reading == VisualReader::Reading::failed) {
        // The next packet is not the successor of the last one.
        forgetRecent();
    }
    return reading == VisualReader::Reading::continues ? Feeding::continues : Feeding::finished;
}

bool VisualDataProvider::seekAmongRecent(const CMTime& time) {
    if (!areRecentSubtitlesWhole_ || (!enqueueRecent(time) && !continueDecodingTo(time))) {
        return false;
    }
    recent_.endSeek();
    lastTarget_ = time;
    removeShownSubtitles();
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

bool VisualDataProvider::continueDecodingTo(const CMTime& time) {
    CMSampleBufferRef newest = recent_.newest();
    if (!newest || feed()->isFinished() || newest->presentationTimeStamp() > time) {
        return false;
    }
    PacketSource::CollectedPackets packets;
    if (time - newest->presentationTimeStamp() > kNear) {
        auto packetsOnTheWay = reader_.continueReading(newest->presentationTimeStamp(), time);
        if (!packetsOnTheWay) {
            return false;
        }
        packets = std::move(*packetsOnTheWay);
        // Frames in between may be left out.
        recent_.clear();
    }
    displayLayer_->flush();
    VisualSearch search = makeSearch(time, true);
    // Released as soon as it cannot be the answer.
    search.add(std::exchange(newest, nullptr));
    run(search, packets);
    return true;
}

void VisualDataProvider::willSeekTracks() {
    forgetRecent();
    areRecentSubtitlesWhole_ = true;
    reader_.flushSubtitlesDecoders();
    removeShownSubtitles();
}

void VisualDataProvider::seekTracks(const CMTime& time) {
    recent_.beginSeek();
    stepBackUntil(time, reader_.startTime(),
                  [&](const CMTime& begin) { return decodeFrom(begin, time); });
    feed()->decoder().endSearch();
    recent_.endSeek();
    lastTarget_ = time;
    showRecentSubtitles(time);
}

/// Whether a decoder that starts at `begin` gave the picture of `time`. Also true where an earlier
/// start would not help.
bool VisualDataProvider::decodeFrom(const CMTime& begin, const CMTime& time) {
    if (begin < time) {
        feed()->flush();
        willSeekTracks();
        requestMediaData();
    }
    const auto packets = reader_.collectPackets(begin);
    if (!packets) {
        return true;
    }
    feed()->decoder().beginSearch();
    VisualSearch search = makeSearch(time, begin <= reader_.startTime());
    run(search, *packets);
    return search.isFinal();
}

VisualSearch VisualDataProvider::makeSearch(const CMTime& time, bool takesLater) {
    return {{reader_, *feed(), recent_, progress_},
            {time, takesLater, framesToKeepBefore(time)},
            [this, time](SubtitlesPosition position, const SubtitlesFrames& frames) {
                keepForSeeking(position, frames, time);
            }};
}

void VisualDataProvider::run(VisualSearch& search, const PacketSource::CollectedPackets& packets) {
    const auto reading = search.run(packets);
    if (reading == VisualReader::Reading::failed) {
        forgetRecent();
    }
    if (reading != VisualReader::Reading::continues) {
        stopRequestingMediaData();
        if (!search.isFound()) {
            displayLayer_->flushAndRemoveImage();
        }
    }
}

/// Further steps back are likely after one step back only. Otherwise those frames cost time.
std::size_t VisualDataProvider::framesToKeepBefore(const CMTime& time) const {
    const bool isStep =
        lastTarget_.isNumeric() && time < lastTarget_ && lastTarget_ - time <= kLongestStep;
    return isStep ? recent_.capacityBefore() : 0;
}

void VisualDataProvider::removeShownSubtitles() {
    for (const auto position : {SubtitlesPosition::primary, SubtitlesPosition::secondary}) {
        if (reader_.hasSubtitlesTrack(position)) {
            display(position).renderer->removeAllSubtitles();
        }
    }
}

/// Where they are too many, those of the target are kept, and the next seek reads the file.
void VisualDataProvider::keepForSeeking(SubtitlesPosition position, const SubtitlesFrames& frames,
                                        const CMTime& target) {
    RecentSubtitles& recent = display(position).recent;
    recent.add(frames);
    if (recent.isOverfull()) {
        recent.keepFrom(target);
        areRecentSubtitlesWhole_ = false;
    }
}

void VisualDataProvider::keepInPlayback(SubtitlesPosition position, const SubtitlesFrames& frames) {
    const CMSampleBufferRef oldest = recent_.oldest();
    RecentSubtitles& recent = display(position).recent;
    recent.add(frames);
    if (oldest) {
        recent.keepFrom(oldest->presentationTimeStamp());
    }
    if (!oldest || recent.isOverfull()) {
        forgetRecent();
    }
}

void VisualDataProvider::showRecentSubtitles(const CMTime& time) const {
    for (const SubtitlesDisplay& display : subtitles_) {
        SubtitlesRenderer::sendFrames(display.renderer, display.recent.shownFrom(time));
    }
}

} // namespace zelvane
