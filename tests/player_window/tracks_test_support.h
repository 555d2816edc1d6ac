// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

#include "media_player/media_source/packet_source.h"

namespace zelvane::test {

inline std::shared_ptr<SubtitlesTrack> subtitlesTrack(const std::string& id) {
    auto track = std::make_shared<SubtitlesTrack>("source", MediaTrack::Facts{}, nullptr);
    track->setID(id);
    return track;
}

inline std::shared_ptr<AudioTrack> audioTrack(const std::string& id) {
    auto track = std::make_shared<AudioTrack>("source", MediaTrack::Facts{}, nullptr);
    track->setID(id);
    return track;
}

inline std::shared_ptr<VideoTrack> videoTrack(const std::string& id) {
    auto track = std::make_shared<VideoTrack>("source", MediaTrack::Facts{},
                                              VideoDimensions(16, 16, std::nullopt, 1),
                                              std::nullopt, nullptr);
    track->setID(id);
    return track;
}

} // namespace zelvane::test
