// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/visual_data_provider.h"

#include <algorithm>
#include <utility>

#include "foundation/log.h"

namespace zelvane {
namespace {

constexpr std::size_t kPrimary = 0;
constexpr std::size_t kSecondary = 1;

} // namespace

VisualDataProvider::VisualDataProvider(
    std::shared_ptr<PacketSource> mediaSource, std::shared_ptr<VideoRendering> displayLayer,
    const std::shared_ptr<SubtitlesRenderer>& primarySubtitlesRenderer,
    const std::shared_ptr<SubtitlesRenderer>& secondarySubtitlesRenderer)
    : DataProvider("Visual Data Provider Queue", displayLayer),
      mediaSource_(std::move(mediaSource)), displayLayer_(std::move(displayLayer)),
      subtitles_{{{primarySubtitlesRenderer,
                   "Failed to decode packet from primary subtitles track",
                   nullptr,
                   {}},
                  {secondarySubtitlesRenderer,
                   "Failed to decode packet from secondary subtitles track",
                   nullptr,
                   {}}}} {}

void VisualDataProvider::setVideoTrack(std::shared_ptr<VideoTrack> track) {
    selectedVideoTrack_ = std::move(track);
    forgetRecent();
    setDecoder(selectedVideoTrack_ ? &selectedVideoTrack_->decoder() : nullptr);
    // A new track must not show the last picture of the old one.
    displayLayer_->flushAndRemoveImage();
    configureLayer();
    stopRequestingMediaData();
    if (selectedVideoTrack_) {
        requestMediaData();
    }
}

void VisualDataProvider::configureLayer() const {
    CGRect bounds;
    CGAffineTransform transform = kCGAffineTransformIdentity;
    if (selectedVideoTrack_) {
        const VideoDimensions& dimensions = selectedVideoTrack_->dimensions();
        bounds.width = dimensions.squarePixelSize.width;
        bounds.height = dimensions.squarePixelSize.height;
        transform = dimensions.displayTransform.value_or(kCGAffineTransformIdentity);
    }
    dispatch::mainQueue()->sync([&] {
        displayLayer_->setBounds(bounds);
        displayLayer_->setAffineTransform(transform);
    });
}

void VisualDataProvider::setPrimarySubtitlesTrack(std::shared_ptr<SubtitlesTrack> track) {
    setSubtitlesTrack(subtitles_[kPrimary], std::move(track));
}

void VisualDataProvider::setSecondarySubtitlesTrack(std::shared_ptr<SubtitlesTrack> track) {
    setSubtitlesTrack(subtitles_[kSecondary], std::move(track));
}

void VisualDataProvider::setSubtitlesTrack(SubtitlesPosition& position,
                                           std::shared_ptr<SubtitlesTrack> track) {
    if (track && track->isExternal()) {
        fatalError("A subtitles track of a side file cannot be read along with the video.");
    }
    position.selectedTrack = std::move(track);
    // Its earlier packets were not read.
    forgetRecent();
    if (position.selectedTrack) {
        position.selectedTrack->decoder().flush();
    }
    position.renderer->removeAllSubtitles();
}

SubtitlesTracks VisualDataProvider::selectedSubtitlesTracks() const {
    SubtitlesTracks tracks;
    for (const SubtitlesPosition& position : subtitles_) {
        if (position.selectedTrack) {
            tracks.push_back(position.selectedTrack);
        }
    }
    return tracks;
}

DataProvider::Feeding VisualDataProvider::provideNext() {
    return provideNext([this](std::size_t position, const SubtitlesFrames& frames) {
        keepForSeeking(position, frames);
        forgetUnreachableSubtitles();
        show(position, frames);
    });
}

DataProvider::Feeding VisualDataProvider::provideNext(const FramesReceiver& receiver) {
    std::optional<PacketSource::TrackPacket> packet;
    try {
        packet = mediaSource_->visualTracksQueue()->sync([this] {
            return mediaSource_->readVisualPacket(selectedVideoTrack_, selectedSubtitlesTracks());
        });
    } catch (const std::exception& error) {
        logMessage("Failed to read packet from video/subtitles tracks: {}.",
                   errorDescriptionText(error));
        // What comes next doesn't follow on what came before.
        forgetRecent();
        return Feeding::isOver;
    }
    if (!packet) {
        finish(receiver);
        return Feeding::isOver;
    }
    route(*packet, receiver);
    return Feeding::goesOn;
}

void VisualDataProvider::finish(const FramesReceiver& receiver) {
    feed()->finish();
    for (std::size_t i = 0; i < subtitles_.size(); ++i) {
        if (!subtitles_[i].selectedTrack) {
            continue;
        }
        try {
            receiver(i, subtitles_[i].selectedTrack->decoder().decode(Packet()));
        } catch (const std::exception& error) {
            logMessage("Failed to dequeue remaining frames from subtitles frame decoder: {}.",
                       errorDescriptionText(error));
        }
    }
}

void VisualDataProvider::route(const PacketSource::TrackPacket& packet,
                               const FramesReceiver& receiver) {
    if (packet.track == selectedVideoTrack_) {
        feed()->decode(packet.packet, "Failed to start decoding video packet");
        // Left to itself the decoder gives two pictures at a time, one more than there is room for,
        // and one may be 25 MB.
        feed()->deliverReady();
        return;
    }
    for (std::size_t i = 0; i < subtitles_.size(); ++i) {
        if (packet.track != subtitles_[i].selectedTrack) {
            continue;
        }
        try {
            receiver(i, subtitles_[i].selectedTrack->decoder().decode(*packet.packet));
        } catch (const std::exception& error) {
            logMessage("{}: {}.", subtitles_[i].decodeFailure, errorDescriptionText(error));
        }
        return;
    }
}

void VisualDataProvider::show(std::size_t position, const SubtitlesFrames& frames) const {
    const std::weak_ptr<SubtitlesRenderer> renderer = subtitles_.at(position).renderer;
    for (const SubtitlesFrameRef& frame : frames) {
        dispatch::mainQueue()->async([renderer, frame] {
            if (const auto strongRenderer = renderer.lock()) {
                strongRenderer->addSubtitlesFrame(frame);
            }
        });
    }
}

} // namespace zelvane
