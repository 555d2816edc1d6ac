// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "foundation/atomic.h"
#include "foundation/url.h"
#include "media_player/decoders/common/media_type.h"
#include "media_player/media_source/input_format_context.h"
#include "media_player/media_source/media_source_load_error.h"
#include "media_player/media_source/optional_metadata.h"
#include "media_player/media_source/packet_reading.h"
#include "media_player/media_source/packet_source.h"

namespace zelvane {

/// One opened media file: its tracks, its times, and the packets of two readers that do not disturb
/// each other, each with a demuxer of its own:
///
///     visual queue: the video track and all subtitles tracks in use
///     audio queue:  the one audio track in use
///
/// It exists only fully loaded. Its tracks and times never change, and any thread may read them.
/// Both files are closed when the last reference goes; who reads holds one.
class MediaSource final : public PacketSource {
  public:
    using LoadError = MediaSourceLoadError;
    using OptionalMetadata = zelvane::OptionalMetadata;
    using SuccessHandler = std::function<void(const std::shared_ptr<MediaSource>&)>;
    using FailureHandler = std::function<void(const LoadError&)>;

    /// Loads on the caller's thread. A file without a duration is refused when one is required;
    /// else it takes the fallback, or an indefinite one. Throws LoadError.
    static std::shared_ptr<MediaSource>
    open(const URL& url, const std::optional<CMTime>& fallbackDuration, bool isDurationRequired);
    /// The same from the file's two open demuxers.
    static std::shared_ptr<MediaSource> open(const URL& url, InputFormatContexts contexts,
                                             const std::optional<CMTime>& fallbackDuration,
                                             bool isDurationRequired);
    /// Loads in the background, the duration being required, and calls one of the handlers, not on
    /// the main queue.
    static void load(const URL& url, SuccessHandler successHandler, FailureHandler failureHandler);

    /// What a load has found. Made by open() alone.
    struct Contents;
    explicit MediaSource(Contents contents);
    ~MediaSource() override;
    MediaSource(const MediaSource&) = delete;
    MediaSource& operator=(const MediaSource&) = delete;

    /// A UUID in upper case.
    std::string id() const { return id_.load(); }
    void setID(std::string id) { id_.store(std::move(id)); }
    const URL& url() const { return url_; }
    CMTime startTime() const override { return startTime_; }
    CMTime duration() const override { return duration_; }
    /// Video if there is any, else audio if there is any, else subtitles.
    MediaType mediaType() const;
    const OptionalMetadata& optionalMetadata() const { return optionalMetadata_; }

    // Each list is in stream order.
    const std::vector<std::shared_ptr<VideoTrack>>& videoTracks() const { return videoTracks_; }
    const std::vector<std::shared_ptr<AudioTrack>>& audioTracks() const { return audioTracks_; }
    const SubtitlesTracks& embeddedSubtitlesTracks() const { return embeddedSubtitlesTracks_; }
    SubtitlesTracks subtitlesTracks() const { return embeddedSubtitlesTracks_; }

    const std::shared_ptr<dispatch::Queue>& visualTracksQueue() const override {
        return visualTracksQueue_;
    }
    const std::shared_ptr<dispatch::Queue>& audioTracksQueue() const override {
        return audioTracksQueue_;
    }

    PacketRef readAudioPacket(const std::shared_ptr<AudioTrack>& track) override;
    std::optional<TrackPacket> readVisualPacket(const std::shared_ptr<VideoTrack>& videoTrack,
                                                const SubtitlesTracks& subtitlesTracks) override;
    std::vector<PacketRef> seekAudio(const std::shared_ptr<AudioTrack>& track,
                                     const CMTime& time) override;
    CollectedPackets seekVisual(const std::shared_ptr<VideoTrack>& videoTrack,
                                const SubtitlesTracks& subtitlesTracks,
                                const CMTime& time) override;
    /// The last place before `time` where the index says that the track can be read from. Visual
    /// queue.
    std::optional<CMTime> keyframeTimeBefore(const CMTime& time, const MediaTrack& track);

  private:
    /// Where to move for the packets of a time.
    CMTime placeOf(const CMTime& time) const;
    /// What to enable for a seek of these tracks.
    StreamIndexes steeringStreams(const MediaTracks& tracks, const CMTime& time);

    Atomic<std::string> id_;
    const URL url_;
    const CMTime startTime_;
    const CMTime duration_;
    const std::vector<std::shared_ptr<VideoTrack>> videoTracks_;
    const std::vector<std::shared_ptr<AudioTrack>> audioTracks_;
    const SubtitlesTracks embeddedSubtitlesTracks_;
    const OptionalMetadata optionalMetadata_;
    const std::shared_ptr<dispatch::Queue> visualTracksQueue_;
    const std::shared_ptr<dispatch::Queue> audioTracksQueue_;
    // Closed in reverse order: the visual context first.
    InputFormatContext formatContextForAudioTracks_;
    InputFormatContext formatContextForVisualTracks_;
};

} // namespace zelvane
