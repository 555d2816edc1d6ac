// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/external_subtitles_data_provider.h"

#include <cassert>
#include <utility>

#include "foundation/log.h"

namespace zelvane {

ExternalSubtitlesDataProvider::ExternalSubtitlesDataProvider(
    const std::shared_ptr<PacketSource>& mediaSource,
    std::shared_ptr<SubtitlesRenderer> subtitlesRenderer)
    : subtitlesRenderer_(std::move(subtitlesRenderer)), startTime_(mediaSource->startTime()),
      queue_(dispatch::makeSerialQueue("External Subtitles Data Provider Queue")) {}

ExternalSubtitlesDataProvider::~ExternalSubtitlesDataProvider() {
    stopAsking();
}

void ExternalSubtitlesDataProvider::perform(bool cancelling, dispatch::Task task) {
    if (cancelling) {
        shouldCancelProvideFunction_.store(true);
    }
    queue_->async([weakSelf = weak_from_this(), task = std::move(task)] {
        if (const auto self = weakSelf.lock()) {
            self->shouldCancelProvideFunction_.store(false);
        }
        task();
    });
}

void ExternalSubtitlesDataProvider::setSubtitlesTrack(
    const std::shared_ptr<SubtitlesTrack>& track) {
    assert(queue_->isCurrent());
    selectedSubtitlesTrack_ = std::dynamic_pointer_cast<ExternalSubtitlesTrack>(track);
    if (track && !selectedSubtitlesTrack_) {
        fatalError("A subtitles track of the media itself cannot be read as one of a side file.");
    }
    if (selectedSubtitlesTrack_) {
        selectedSubtitlesTrack_->decoder().flush();
    }
    subtitlesRenderer_->removeAllSubtitles();
    stopAsking();
    if (selectedSubtitlesTrack_) {
        startAsking();
    }
}

void ExternalSubtitlesDataProvider::setSubtitlesTrack(
    const std::shared_ptr<SubtitlesTrack>& track,
    const std::shared_ptr<dispatch::Queue>& completionQueue, dispatch::Task completion) {
    setSubtitlesTrack(track);
    completionQueue->async(std::move(completion));
}

void ExternalSubtitlesDataProvider::startAsking() {
    isAsking_ = true;
    subtitlesRenderer_->mediaDataRequester().setDataProducer(
        BufferDataRequester::DataProducer{queue_, [weakSelf = weak_from_this()] {
                                              if (const auto self = weakSelf.lock()) {
                                                  self->provideData();
                                              }
                                          }});
}

void ExternalSubtitlesDataProvider::stopAsking() {
    isAsking_ = false;
    subtitlesRenderer_->mediaDataRequester().setDataProducer(std::nullopt);
}

void ExternalSubtitlesDataProvider::provideData() {
    assert(queue_->isCurrent());
    if (!selectedSubtitlesTrack_) {
        stopAsking();
    }
    while (isAsking_ && !shouldCancelProvideFunction_.load()) {
        const int underWay = *framesUnderWay_;
        if (!subtitlesRenderer_->mediaDataRequester().shouldProvideMoreData(underWay)) {
            if (underWay > 0) {
                provideDataOnceFramesArrive();
            }
            return;
        }
        const Provided provided = provideNext();
        for (const SubtitlesFrameRef& frame : provided.frames) {
            show(frame);
        }
        if (provided.isOver) {
            stopAsking();
        }
    }
}

/// Frames that are over by the time they arrive leave the renderer at once, and its count may never
/// come down to the low mark again: so this looks once more, behind all that is under way.
void ExternalSubtitlesDataProvider::provideDataOnceFramesArrive() {
    dispatch::mainQueue()->async([weakSelf = weak_from_this()] {
        if (const auto self = weakSelf.lock()) {
            self->queue_->async([weakSelf] {
                if (const auto strongSelf = weakSelf.lock()) {
                    strongSelf->provideData();
                }
            });
        }
    });
}

ExternalSubtitlesDataProvider::Provided ExternalSubtitlesDataProvider::provideNext() {
    const auto& source = selectedSubtitlesTrack_->externalMediaSource();
    std::optional<PacketSource::TrackPacket> packet;
    try {
        packet = source->visualTracksQueue()->sync([&] {
            return source->readVisualPacket(nullptr,
                                            {selectedSubtitlesTrack_->externalMediaSourceTrack()});
        });
    } catch (const std::exception& error) {
        logMessage("Failed to read packet from external subtitles track: {}.",
                   errorDescriptionText(error));
        return {{}, true};
    }
    return packet ? Provided{decode(*packet->packet), false} : drain();
}

ExternalSubtitlesDataProvider::Provided ExternalSubtitlesDataProvider::drain() const {
    try {
        return {selectedSubtitlesTrack_->decoder().decode(Packet()), true};
    } catch (const std::exception& error) {
        logMessage("Failed to dequeue remaining frames from subtitles frame decoder: {}.",
                   errorDescriptionText(error));
        return {{}, true};
    }
}

SubtitlesFrames ExternalSubtitlesDataProvider::decode(const Packet& packet) const {
    try {
        return selectedSubtitlesTrack_->decoder().decode(packet);
    } catch (const std::exception& error) {
        logMessage("Failed to decode external subtitles packet: {}.", errorDescriptionText(error));
        return {};
    }
}

void ExternalSubtitlesDataProvider::seek(const CMTime& time, bool shouldProvideData,
                                         const std::shared_ptr<dispatch::Queue>& completionQueue,
                                         dispatch::Task completion) {
    assert(queue_->isCurrent());
    if (selectedSubtitlesTrack_) {
        stopAsking();
        // The block cannot run before this task ends, so asking first loses no call.
        startAsking();
        selectedSubtitlesTrack_->decoder().flush();
        subtitlesRenderer_->removeAllSubtitles();
        seekTrack(time - startTime_);
        if (shouldProvideData) {
            provideData();
        }
    }
    completionQueue->async(std::move(completion));
}

void ExternalSubtitlesDataProvider::seekTrack(const CMTime& time) {
    SubtitlesFrames frames;
    if (seekSource(time, frames)) {
        collectFrames(std::move(frames), time);
    }
}

bool ExternalSubtitlesDataProvider::seekSource(const CMTime& time, SubtitlesFrames& frames) const {
    const auto& source = selectedSubtitlesTrack_->externalMediaSource();
    PacketSource::CollectedPackets collected;
    try {
        collected = source->visualTracksQueue()->sync([&] {
            return source->seekVisual(nullptr,
                                      {selectedSubtitlesTrack_->externalMediaSourceTrack()}, time);
        });
    } catch (const std::exception& error) {
        logMessage("Failed to seek external subtitles track: {}.", errorDescriptionText(error));
        return false;
    }
    for (const auto& [track, packets] : collected) {
        for (const PacketRef& packet : packets) {
            const SubtitlesFrames decoded = decode(*packet);
            frames.insert(frames.end(), decoded.begin(), decoded.end());
        }
    }
    return true;
}

void ExternalSubtitlesDataProvider::collectFrames(SubtitlesFrames frames, const CMTime& time) {
    while (frames.empty() || frames.back()->startTime < time) {
        const Provided provided = provideNext();
        frames.insert(frames.end(), provided.frames.begin(), provided.frames.end());
        if (provided.isOver) {
            stopAsking();
            break;
        }
    }
    for (auto frame = firstRelevantFrame(frames, time); frame != frames.cend(); ++frame) {
        show(*frame);
    }
}

void ExternalSubtitlesDataProvider::show(SubtitlesFrameRef frame) const {
    if (startTime_ != kCMTimeZero) {
        frame = std::make_shared<const SubtitlesFrame>(SubtitlesFrame{
            frame->startTime + startTime_, frame->endTime + startTime_, frame->subtitles});
    }
    ++*framesUnderWay_;
    dispatch::mainQueue()->async([renderer = std::weak_ptr(subtitlesRenderer_),
                                  underWay = framesUnderWay_, frame = std::move(frame)] {
        if (const auto strongRenderer = renderer.lock()) {
            strongRenderer->addSubtitlesFrame(frame);
        }
        --*underWay;
    });
}

} // namespace zelvane
