// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/audio_data_provider.h"

#include <utility>

#include "foundation/log.h"
#include "media_player/playback/seek_relevance.h"

namespace zelvane {
namespace {

constexpr std::string_view kSoundDecodeFailure = "Failed to start decoding audio packet";

} // namespace

AudioDataProvider::AudioDataProvider(std::shared_ptr<PacketSource> mediaSource,
                                     std::shared_ptr<AudioRendering> audioRenderer)
    : DataProvider("Audio Data Provider Queue", audioRenderer),
      mediaSource_(std::move(mediaSource)), audioRenderer_(std::move(audioRenderer)) {}

void AudioDataProvider::setAudioTrack(std::shared_ptr<AudioTrack> track) {
    selectedAudioTrack_ = std::move(track);
    setDecoder(selectedAudioTrack_ ? &selectedAudioTrack_->decoder() : nullptr);
    audioRenderer_->flush();
    stopRequestingMediaData();
    if (selectedAudioTrack_) {
        requestMediaData();
    }
}

DataProvider::Feeding AudioDataProvider::provideNext() {
    PacketRef packet;
    try {
        packet = mediaSource_->audioTracksQueue()->sync(
            [this] { return mediaSource_->readAudioPacket(selectedAudioTrack_); });
    } catch (const std::exception& error) {
        logMessage("Failed to read packet from audio track: {}.", errorDescriptionText(error));
        return Feeding::finished;
    }
    if (!packet) {
        feed()->finish();
        return Feeding::finished;
    }
    feed()->decode(packet, kSoundDecodeFailure);
    return Feeding::continues;
}

void AudioDataProvider::seekTracks(const CMTime& time) {
    std::vector<PacketRef> packets;
    try {
        packets = mediaSource_->audioTracksQueue()->sync(
            [&] { return mediaSource_->seekAudio(selectedAudioTrack_, time); });
    } catch (const std::exception& error) {
        logMessage("Failed to seek audio track: {}.", errorDescriptionText(error));
        return;
    }
    bool foundRelevant = false;
    const DecodeFeed::Diversion filter(*feed(), [&](const CMSampleBufferRef& sampleBuffer) {
        if (isRelevantForSeeking(*sampleBuffer, time)) {
            foundRelevant = true;
            feed()->enqueue(sampleBuffer);
        }
    });
    for (const PacketRef& packet : packets) {
        feed()->decode(packet, kSoundDecodeFailure);
    }
    while (!foundRelevant) {
        if (provideNext() == Feeding::finished) {
            stopRequestingMediaData();
            return;
        }
    }
}

} // namespace zelvane
