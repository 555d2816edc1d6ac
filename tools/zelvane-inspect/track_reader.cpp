// SPDX-License-Identifier: GPL-3.0-or-later
#include "track_reader.h"

#include <utility>

#include "foundation/log.h"
#include "media_player/playback/seek_relevance.h"

namespace zelvane::inspect {

TrackReader::TrackReader(std::shared_ptr<PacketSource> source, std::shared_ptr<VideoTrack> track)
    : source_(std::move(source)), videoTrack_(std::move(track)),
      session_(videoTrack_->decoder(),
               [this](const CMSampleBufferRef& buffer) { decoded_.push_back(buffer); }) {}

TrackReader::TrackReader(std::shared_ptr<PacketSource> source, std::shared_ptr<AudioTrack> track)
    : source_(std::move(source)), audioTrack_(std::move(track)),
      session_(audioTrack_->decoder(),
               [this](const CMSampleBufferRef& buffer) { decoded_.push_back(buffer); }) {}

void TrackReader::seek(const CMTime& target) {
    decoded_.clear();
    ended_ = false;
    target_ = target;
    session_.flush();
    std::vector<PacketRef> packets;
    if (audioTrack_) {
        packets = source_->audioTracksQueue()->sync(
            [&] { return source_->seekAudio(audioTrack_, target); });
    } else {
        auto collected = source_->visualTracksQueue()->sync(
            [&] { return source_->seekVisual(videoTrack_, {}, target); });
        for (auto& [track, ofTrack] : collected) {
            packets.insert(packets.end(), ofTrack.begin(), ofTrack.end());
        }
    }
    for (const auto& packet : packets) {
        decode(packet);
    }
}

CMSampleBufferRef TrackReader::next() {
    for (;;) {
        while (!decoded_.empty()) {
            auto buffer = std::move(decoded_.front());
            decoded_.pop_front();
            if (!dropsBeforeTarget(*buffer)) {
                return buffer;
            }
        }
        if (ended_) {
            return nullptr;
        }
        if (const auto packet = readPacket()) {
            decode(packet);
        } else {
            ended_ = true;
            session_.finish();
        }
    }
}

PacketRef TrackReader::readPacket() {
    if (audioTrack_) {
        return source_->audioTracksQueue()->sync(
            [&] { return source_->readAudioPacket(audioTrack_); });
    }
    const auto read = source_->visualTracksQueue()->sync(
        [&] { return source_->readVisualPacket(videoTrack_, {}); });
    return read ? read->packet : nullptr;
}

void TrackReader::decode(const PacketRef& packet) {
    try {
        session_.decode(packet);
    } catch (const Error& error) {
        logMessage("Failed to start decoding packet: {}.", errorDescriptionText(error));
    }
}

bool TrackReader::dropsBeforeTarget(const CMSampleBuffer& sampleBuffer) {
    if (!target_) {
        return false;
    }
    if (!isRelevantForSeeking(sampleBuffer, *target_)) {
        return true;
    }
    target_.reset();
    return false;
}

} // namespace zelvane::inspect
