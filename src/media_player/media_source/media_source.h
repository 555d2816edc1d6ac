// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/atomic.h"
#include "foundation/file_resource_identifier.h"
#include "foundation/notification_center.h"
#include "foundation/url.h"
#include "media_player/decoders/common/media_type.h"
#include "media_player/media_source/external_subtitles_track.h"
#include "media_player/media_source/input_format_context.h"
#include "media_player/media_source/media_source_load_error.h"
#include "media_player/media_source/optional_metadata.h"
#include "media_player/media_source/packet_reading.h"
#include "media_player/media_source/packet_source.h"
#include "media_player/media_source/text_packets.h"

namespace zelvane {

/// One opened media file: its tracks, its times, and the packets of two readers that do not disturb
/// each other, each with a demuxer of its own:
///
///     visual queue: the video track and all subtitles tracks in use
///     audio queue:  the one audio track in use
///
/// It exists only fully loaded. Its own tracks and its times never change, and any thread may read
/// them; tracks of side files may come to them. Both files are closed when the last reference goes;
/// who reads holds one.
class MediaSource final : public PacketSource, public std::enable_shared_from_this<MediaSource> {
  public:
    /// A side file and the tracks that stand for its own. They keep each other alive.
    struct ExternalSubtitles {
        std::shared_ptr<MediaSource> mediaSource;
        ExternalSubtitlesTracks externalSubtitlesTracks;
    };

    /// Posted on the shared centre, with the source as object, when what is worth keeping of it
    /// over a restart has changed.
    static constexpr std::string_view kRestorableStateWasInvalidatedNotification =
        "zelvane.MediaSource.restorableStateWasInvalidatedNotification";

    using LoadError = MediaSourceLoadError;
    using OptionalMetadata = zelvane::OptionalMetadata;
    using SuccessHandler = std::function<void(const std::shared_ptr<MediaSource>&)>;
    using FailureHandler = std::function<void(const LoadError&)>;
    using ExternalSubtitlesHandler = std::function<void(const ExternalSubtitlesTracks&)>;

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

    /// Loads the subtitles of a side file on the caller's thread, ready to be decoded in the
    /// encoding that their text is in. It is opened once only, as there is no sound to read from
    /// it. Throws LoadError.
    static ExternalSubtitles openExternalSubtitles(const URL& url, const CMTime& fallbackDuration);
    /// Loads a side file in the background, shows its tracks among those of this source, and calls
    /// one of the handlers, not on the main queue. A file that is here already, under whatever
    /// name, gives the tracks that it has. Any thread.
    void addExternalSubtitles(const URL& url, ExternalSubtitlesHandler successHandler,
                              FailureHandler failureHandler);

    /// What a load has found. Made by the opening functions alone.
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
    /// In the order in which they came. Any thread.
    ExternalSubtitlesTracks externalSubtitlesTracks() const {
        return externalSubtitlesTracks_.load();
    }
    /// The embedded ones and then the external ones. Any thread.
    SubtitlesTracks subtitlesTracks() const;

    /// What the text of a side file was written in before it was turned into UTF-8, for a file that
    /// is nothing but text; else none.
    const std::optional<std::string>& textEncoding() const { return textEncoding_; }

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
    std::optional<CollectedPackets> readVisualOn(const std::shared_ptr<VideoTrack>& videoTrack,
                                                 const SubtitlesTracks& subtitlesTracks,
                                                 const CMTime& from, const CMTime& time) override;
    /// The last place before `time` where the index says that the track can be read from. Visual
    /// queue.
    std::optional<CMTime> keyframeTimeBefore(const CMTime& time, const MediaTrack& track);

  private:
    /// Where to move for the packets of a time.
    CMTime placeOf(const CMTime& time) const;
    using Attached = std::map<FileResourceIdentifier, ExternalSubtitles>;

    /// Gives each decoder of undeclared text the encoding that all of its packets tell. Visual
    /// queue. Throws LoadError.
    void detectCharacterEncodings();
    /// The tracks of the file, which are its earlier ones when it is attached already.
    ExternalSubtitlesTracks attach(ExternalSubtitles external);
    void appendExternalSubtitles(const ExternalSubtitles& external);
    void invalidateRestorableState() const;

    /// Moves to where all that is needed to show what is due at `time` begins.
    void seekSubtitlesAlone(const MediaTracks& tracks, const CMTime& time);
    CollectedPackets seekText(const SubtitlesTracks& subtitlesTracks, const CMTime& time);
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
    const std::optional<std::string> textEncoding_;
    Atomic<ExternalSubtitlesTracks> externalSubtitlesTracks_;
    Atomic<Attached> fileResourceIdentifierToExternalSubtitlesMap_;
    Atomic<std::vector<NotificationObserver>> externalSubtitlesObservers_;
    const std::shared_ptr<dispatch::Queue> visualTracksQueue_;
    const std::shared_ptr<dispatch::Queue> audioTracksQueue_;
    /// In place of both contexts, for a side file that is nothing but text. Visual queue.
    std::optional<TextPackets> textPackets_;
    // Closed in reverse order: the visual context first.
    InputFormatContext formatContextForAudioTracks_;
    InputFormatContext formatContextForVisualTracks_;
};

} // namespace zelvane
