// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/visual_reader.h"

#include <utility>

#include "foundation/log.h"

namespace zelvane {

void VisualReader::setSubtitlesTrack(SubtitlesPosition position,
                                     std::shared_ptr<SubtitlesTrack> track) {
    if (track && track->isExternal()) {
        fatalError("A subtitles track of a side file cannot be read along with the video.");
    }
    at(position).track = std::move(track);
    if (at(position).track) {
        at(position).track->decoder().flush();
    }
}

bool VisualReader::hasSubtitlesTrack(SubtitlesPosition position) const {
    return subtitles_.at(static_cast<std::size_t>(position)).track != nullptr;
}

VisualReader::Position& VisualReader::at(SubtitlesPosition position) {
    return subtitles_.at(static_cast<std::size_t>(position));
}

SubtitlesTracks VisualReader::subtitlesTracks() const {
    SubtitlesTracks tracks;
    for (const Position& position : subtitles_) {
        if (position.track) {
            tracks.push_back(position.track);
        }
    }
    return tracks;
}

VisualReader::Reading VisualReader::decodeNext(DecodeFeed& feed, const FramesReceiver& receiver) {
    std::optional<PacketSource::TrackPacket> packet;
    try {
        packet = mediaSource_->visualTracksQueue()->sync(
            [this] { return mediaSource_->readVisualPacket(videoTrack_, subtitlesTracks()); });
    } catch (const std::exception& error) {
        logMessage("Failed to read packet from video/subtitles tracks: {}.",
                   errorDescriptionText(error));
        return Reading::failed;
    }
    if (!packet) {
        finish(feed, receiver);
        return Reading::ended;
    }
    decode(*packet, feed, receiver);
    return Reading::continues;
}

void VisualReader::finish(DecodeFeed& feed, const FramesReceiver& receiver) {
    feed.finish();
    for (const Position& position : subtitles_) {
        if (!position.track) {
            continue;
        }
        try {
            receiver(position.position, position.track->decoder().decode(Packet()));
        } catch (const std::exception& error) {
            logMessage("Failed to dequeue remaining frames from subtitles frame decoder: {}.",
                       errorDescriptionText(error));
        }
    }
}

void VisualReader::decode(const PacketSource::TrackPacket& packet, DecodeFeed& feed,
                          const FramesReceiver& receiver) {
    if (packet.track == videoTrack_) {
        feed.decode(packet.packet, "Failed to start decoding video packet");
        // Take each picture at once: otherwise two come out together, one more than there is room
        // for, and one may be 25 MB.
        feed.deliverReady();
        return;
    }
    for (const Position& position : subtitles_) {
        if (packet.track != position.track) {
            continue;
        }
        try {
            receiver(position.position, position.track->decoder().decode(*packet.packet));
        } catch (const std::exception& error) {
            logMessage("{}: {}.", position.decodeFailure, errorDescriptionText(error));
        }
        return;
    }
}

void VisualReader::flushSubtitlesDecoders() {
    for (const Position& position : subtitles_) {
        if (position.track) {
            position.track->decoder().flush();
        }
    }
}

std::optional<PacketSource::CollectedPackets>
VisualReader::collectPackets(const CMTime& time) const {
    try {
        return mediaSource_->visualTracksQueue()->sync(
            [&] { return mediaSource_->seekVisual(videoTrack_, subtitlesTracks(), time); });
    } catch (const std::exception& error) {
        logMessage("Failed to seek visual tracks: {}.", errorDescriptionText(error));
        return std::nullopt;
    }
}

std::optional<PacketSource::CollectedPackets>
VisualReader::continueReading(const CMTime& from, const CMTime& time) const {
    try {
        return mediaSource_->visualTracksQueue()->sync([&] {
            return mediaSource_->continueReadingTo(videoTrack_, subtitlesTracks(), from, time);
        });
    } catch (const std::exception& error) {
        logMessage("Failed to read packet from video/subtitles tracks: {}.",
                   errorDescriptionText(error));
        return std::nullopt;
    }
}

} // namespace zelvane
