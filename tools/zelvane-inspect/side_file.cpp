// SPDX-License-Identifier: GPL-3.0-or-later
#include "side_file.h"

#include <algorithm>
#include <exception>
#include <future>

#include <fmt/format.h>

#include "foundation/user_defaults.h"
#include "media_player/decoders/subtitles/subtitle_text_style_manager.h"
#include "opened_media.h"

namespace zelvane::inspect {
namespace {

std::shared_ptr<ExternalSubtitlesTrack> chosenTrack(const ExternalSubtitlesTracks& tracks,
                                                    const Arguments& arguments) {
    const auto index = arguments.number("track");
    const auto found = std::find_if(tracks.begin(), tracks.end(), [&](const auto& track) {
        return !index || track->streamIndex() == *index;
    });
    if (found == tracks.end()) {
        throw CommandError(fmt::format("stream {} is not a track of type subtitles", *index));
    }
    return *found;
}

void decode(const ExternalSubtitlesTrack& track, const Packet& packet,
            const SideFileReceiver& receiver) {
    try {
        for (const SubtitlesFrameRef& frame : track.decoder().decode(packet)) {
            receiver.frame(*frame);
        }
    } catch (const Error& error) {
        const std::int64_t stamp = packet.avPacket().pts;
        receiver.lost(error, stamp == AV_NOPTS_VALUE
                                 ? std::nullopt
                                 : std::optional(static_cast<double>(stamp) *
                                                 av_q2d(track.streamTimeBase())));
    }
}

} // namespace

ExternalSubtitlesTracks attachSideFile(const std::shared_ptr<MediaSource>& source,
                                       const std::string& side) {
    std::promise<ExternalSubtitlesTracks> answer;
    source->addExternalSubtitles(
        URL::fromPath(side),
        [&](const ExternalSubtitlesTracks& tracks) { answer.set_value(tracks); },
        [&](const MediaSource::LoadError& error) {
            answer.set_exception(std::make_exception_ptr(error));
        });
    return answer.get_future().get();
}

Json externalTrackJson(const ExternalSubtitlesTrack& track) {
    Json json = trackJson(track);
    const auto source = std::dynamic_pointer_cast<MediaSource>(track.externalMediaSource());
    const auto& ofFile = source->textEncoding();
    const auto& encoding = ofFile ? ofFile : track.decoder().characterEncoding();
    json["encoding"] = encoding ? Json(*encoding) : Json(nullptr);
    return json;
}

void readExternalSubtitles(const Arguments& arguments, const SideFileReceiver& receiver) {
    const auto media = openMedia(arguments.file());
    const auto track =
        chosenTrack(attachSideFile(media, arguments.text("external").value()), arguments);
    const auto& source = track->externalMediaSource();
    const auto read = [&] {
        return source->readVisualPacket(nullptr, {track->externalMediaSourceTrack()});
    };
    while (const auto packet = source->visualTracksQueue()->sync(read)) {
        decode(*track, *packet->packet, receiver);
    }
    decode(*track, Packet(), receiver);
}

void applyUserStyle(const Arguments& arguments) {
    if (arguments.text("user-style")) {
        UserDefaults::shared().set(kUseUserSpecifiedSubtitleTextStyleKey, true);
    }
}

} // namespace zelvane::inspect
