// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "foundation/url.h"
#include "media_player/media_source/media_chapter.h"
#include "media_player/media_source/media_source_load_error.h"
#include "media_player/media_source/optional_metadata.h"
#include "media_player/media_source/packet_source.h"

namespace zelvane {

class ExternalSubtitlesTrack;
using ExternalSubtitlesTracks = std::vector<std::shared_ptr<ExternalSubtitlesTrack>>;

/// A source that a player plays: its packets, and what a window shows about it. Every operation
/// here may be called on any thread.
class PlayableSource : public PacketSource {
  public:
    using ExternalSubtitlesHandler = std::function<void(const ExternalSubtitlesTracks&)>;
    using FailureHandler = std::function<void(const MediaSourceLoadError&)>;

    /// A UUID in upper case.
    virtual std::string id() const = 0;
    virtual const URL& url() const = 0;
    virtual const OptionalMetadata& optionalMetadata() const = 0;
    /// Empty without any. Never changes.
    virtual const MediaChapters& chapters() const = 0;

    // Each list is in stream order and never changes.
    virtual const std::vector<std::shared_ptr<VideoTrack>>& videoTracks() const = 0;
    virtual const std::vector<std::shared_ptr<AudioTrack>>& audioTracks() const = 0;
    /// The embedded tracks, then the external ones in the order of their addition.
    virtual SubtitlesTracks subtitlesTracks() const = 0;

    /// Loads a side file in the background, adds its tracks to subtitlesTracks(), and calls one of
    /// the handlers on a thread other than the main one. A file that was added before gives the
    /// tracks that it already has.
    virtual void addExternalSubtitles(const URL& url, ExternalSubtitlesHandler successHandler,
                                      FailureHandler failureHandler) = 0;
};

} // namespace zelvane
