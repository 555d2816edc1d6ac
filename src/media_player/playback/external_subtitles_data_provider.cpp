// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/external_subtitles_data_provider.h"

#include <cassert>
#include <utility>

#include "foundation/log.h"

namespace zelvane {
namespace {

constexpr std::string_view kSideFileDecodeFailure = "Failed to decode external subtitles packet";

} // namespace

ExternalSubtitlesDataProvider::ExternalSubtitlesDataProvider(
    const std::shared_ptr<PacketSource>& mediaSource,
    std::shared_ptr<SubtitlesRenderer> subtitlesRenderer)
    : PullDrivenProvider(dispatch::makeSerialQueue("External Subtitles Data Provider Queue"),
                         subtitlesRenderer->mediaDataRequester()),
      subtitlesRenderer_(std::move(subtitlesRenderer)), startTime_(mediaSource->startTime()) {}

void ExternalSubtitlesDataProvider::setSubtitlesTrack(std::shared_ptr<SubtitlesTrack> track) {
    assert(isOnQueue());
    selectedSubtitlesTrack_ = std::move(track);
    externalTrack_ = selectedSubtitlesTrack_ ? selectedSubtitlesTrack_->asExternal() : nullptr;
    if (selectedSubtitlesTrack_ && externalTrack_ == nullptr) {
        fatalError("A subtitles track of the media itself cannot be read as one of a side file.");
    }
    if (hasTrack()) {
        externalTrack_->decoder().flush();
    }
    subtitlesRenderer_->removeAllSubtitles();
    stopRequestingMediaData();
    if (hasTrack()) {
        requestMediaData();
    }
}

PullDrivenProvider::Feeding ExternalSubtitlesDataProvider::provideNext() {
    SubtitlesFrames frames;
    const Feeding feeding = readNext(frames);
    show(std::move(frames));
    return feeding;
}

PullDrivenProvider::Feeding ExternalSubtitlesDataProvider::readNext(SubtitlesFrames& frames) const {
    const auto& source = externalTrack_->externalMediaSource();
    std::optional<PacketSource::TrackPacket> packet;
    try {
        packet = source->visualTracksQueue()->sync([&] {
            return source->readVisualPacket(nullptr, {externalTrack_->externalMediaSourceTrack()});
        });
    } catch (const std::exception& error) {
        logMessage("Failed to read packet from external subtitles track: {}.",
                   errorDescriptionText(error));
        return Feeding::finished;
    }
    if (!packet) {
        decode(Packet(), "Failed to dequeue remaining frames from subtitles frame decoder", frames);
        return Feeding::finished;
    }
    decode(*packet->packet, kSideFileDecodeFailure, frames);
    return Feeding::continues;
}

void ExternalSubtitlesDataProvider::decode(const Packet& packet, std::string_view failure,
                                           SubtitlesFrames& frames) const {
    try {
        const SubtitlesFrames decoded = externalTrack_->decoder().decode(packet);
        frames.insert(frames.end(), decoded.begin(), decoded.end());
    } catch (const std::exception& error) {
        logMessage("{}: {}.", failure, errorDescriptionText(error));
    }
}

void ExternalSubtitlesDataProvider::startOver(const CMTime& time) {
    externalTrack_->decoder().flush();
    subtitlesRenderer_->removeAllSubtitles();
    seekTrack(time - startTime_);
}

void ExternalSubtitlesDataProvider::seekTrack(const CMTime& time) {
    SubtitlesFrames frames;
    if (!seekSource(time, frames)) {
        return;
    }
    while (frames.empty() || frames.back()->startTime < time) {
        if (readNext(frames) == Feeding::finished) {
            stopRequestingMediaData();
            break;
        }
    }
    show({firstRelevantFrame(frames, time), frames.cend()});
}

bool ExternalSubtitlesDataProvider::seekSource(const CMTime& time, SubtitlesFrames& frames) const {
    const auto& source = externalTrack_->externalMediaSource();
    PacketSource::CollectedPackets collected;
    try {
        collected = source->visualTracksQueue()->sync([&] {
            return source->seekVisual(nullptr, {externalTrack_->externalMediaSourceTrack()}, time);
        });
    } catch (const std::exception& error) {
        logMessage("Failed to seek external subtitles track: {}.", errorDescriptionText(error));
        return false;
    }
    for (const auto& [track, packets] : collected) {
        for (const PacketRef& packet : packets) {
            decode(*packet, kSideFileDecodeFailure, frames);
        }
    }
    return true;
}

void ExternalSubtitlesDataProvider::show(SubtitlesFrames frames) const {
    if (startTime_ != kCMTimeZero) {
        for (SubtitlesFrameRef& frame : frames) {
            frame = std::make_shared<const SubtitlesFrame>(SubtitlesFrame{
                frame->startTime + startTime_, frame->endTime + startTime_, frame->subtitles});
        }
    }
    SubtitlesRenderer::sendFrames(subtitlesRenderer_, frames);
}

} // namespace zelvane
