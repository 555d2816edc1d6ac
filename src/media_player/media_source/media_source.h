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
#include "foundation/file_bookmark.h"
#include "foundation/file_resource_identifier.h"
#include "foundation/notification_center.h"
#include "foundation/state_coder.h"
#include "foundation/url.h"
#include "media_player/decoders/common/media_type.h"
#include "media_player/media_source/external_subtitles_track.h"
#include "media_player/media_source/input_format_context.h"
#include "media_player/media_source/packet_reading.h"
#include "media_player/media_source/playable_source.h"
#include "media_player/media_source/text_packets.h"

namespace zelvane {

struct MediaSourceRestorationParameters;

/// One opened media file: its tracks, its times, and the packets of two independent readers, each
/// with a demuxer of its own:
///
///     visual queue: the video track and all subtitles tracks in use
///     audio queue:  the one audio track in use
///
/// A source exists only fully loaded. Its own tracks and its times never change, and any thread may
/// read them; tracks of side files may be added. Both demuxers are closed with the last reference;
/// a reader holds one.
class MediaSource final : public PlayableSource, public std::enable_shared_from_this<MediaSource> {
  public:
    /// A side file and the tracks that wrap its own. They keep each other alive.
    struct ExternalSubtitles {
        std::shared_ptr<MediaSource> mediaSource;
        ExternalSubtitlesTracks externalSubtitlesTracks;
    };

    /// Posted on the shared centre, with the source as object, when state that is worth restoring
    /// after a restart has changed.
    static constexpr std::string_view kRestorableStateWasInvalidatedNotification =
        "zelvane.MediaSource.restorableStateWasInvalidatedNotification";

    using LoadError = MediaSourceLoadError;
    using OptionalMetadata = zelvane::OptionalMetadata;
    using SuccessHandler = std::function<void(const std::shared_ptr<MediaSource>&)>;

    /// Loads on the caller's thread. Without a duration in the file it throws when one is required,
    /// and otherwise uses the fallback, or an indefinite one. Throws LoadError.
    static std::shared_ptr<MediaSource> open(const URL& url,
                                             const std::optional<CMTime>& fallbackDuration,
                                             bool isDurationRequired,
                                             const LoadInterruption& interruption = {});
    /// The same, from two open demuxers of the file.
    static std::shared_ptr<MediaSource> open(const URL& url, InputFormatContexts contexts,
                                             const std::optional<CMTime>& fallbackDuration,
                                             bool isDurationRequired);
    /// Loads in the background, requires a duration, and calls one of the handlers on a thread
    /// other than the main one.
    static void load(const URL& url, SuccessHandler successHandler, FailureHandler failureHandler,
                     const LoadInterruption& interruption = {});

    /// Loads the subtitles of a side file on the caller's thread and detects their encoding. The
    /// file is opened once only, as its sound is not read. Throws LoadError.
    static ExternalSubtitles openExternalSubtitles(const URL& url, const CMTime& fallbackDuration);
    void addExternalSubtitles(const URL& url, ExternalSubtitlesHandler successHandler,
                              FailureHandler failureHandler) override;

    /// What restore() needs in a later run: the identifier, from which the tracks have theirs, and
    /// the side files in the order of their addition. Any thread.
    StateCoder restorableState() const;
    using RestoreCompletion = std::function<void(const std::optional<LoadError>&)>;
    /// Takes the identifier of an earlier run, and attaches its side files in the background. A
    /// file that cannot be opened is left out. `completion` gets the first error, on a thread other
    /// than the main one.
    void restore(const StateCoder& fromState, RestoreCompletion completion);

    /// The result of a load; only the opening functions make one.
    struct Contents;
    explicit MediaSource(Contents contents);
    ~MediaSource() override;
    MediaSource(const MediaSource&) = delete;
    MediaSource& operator=(const MediaSource&) = delete;

    std::string id() const override { return id_.load(); }
    const URL& url() const override { return url_; }
    /// Where the file was when it was opened.
    const FileBookmark& fileBookmark() const { return fileBookmark_; }
    CMTime startTime() const override { return startTime_; }
    CMTime duration() const override { return duration_; }
    /// Video if there is a video track, else audio if there is an audio track, else subtitles.
    MediaType mediaType() const;
    const OptionalMetadata& optionalMetadata() const override { return optionalMetadata_; }
    const MediaChapters& chapters() const override { return chapters_; }

    const std::vector<std::shared_ptr<VideoTrack>>& videoTracks() const override {
        return videoTracks_;
    }
    const std::vector<std::shared_ptr<AudioTrack>>& audioTracks() const override {
        return audioTracks_;
    }
    /// In stream order.
    const SubtitlesTracks& embeddedSubtitlesTracks() const { return embeddedSubtitlesTracks_; }
    /// In the order in which they came. Any thread.
    ExternalSubtitlesTracks externalSubtitlesTracks() const {
        return externalSubtitlesTracks_.load();
    }
    SubtitlesTracks subtitlesTracks() const override;

    /// The original encoding of a side file that is text and was converted to UTF-8; none for other
    /// files.
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
    std::optional<CollectedPackets> continueReadingTo(const std::shared_ptr<VideoTrack>& videoTrack,
                                                      const SubtitlesTracks& subtitlesTracks,
                                                      const CMTime& from,
                                                      const CMTime& time) override;

  private:
    /// The seek target for the packets of a time.
    CMTime seekTargetOf(const CMTime& time) const;
    using Attached = std::map<FileResourceIdentifier, ExternalSubtitles>;

    /// Detects the encoding of each text stream that declares none, and sets it on the stream's
    /// decoder. Visual queue. Throws LoadError.
    void detectCharacterEncodings();
    /// Adds a side file and returns its tracks; for a file that is attached already, the earlier
    /// tracks.
    ExternalSubtitlesTracks attach(const std::optional<FileResourceIdentifier>& identifier,
                                   ExternalSubtitles external);
    void appendExternalSubtitles(const ExternalSubtitles& external);
    /// Loads a side file on the caller's thread and attaches it. `prepare`, if there is one, sees
    /// the file before other threads do. Throws LoadError.
    ExternalSubtitlesTracks
    attachSideFile(const URL& url, const std::function<void(const ExternalSubtitles&)>& prepare);
    void invalidateRestorableState() const;

    std::optional<LoadError> restoreNow(const StateCoder& state, int nesting);
    std::optional<LoadError> restoreSideFile(const MediaSourceRestorationParameters& parameters,
                                             int nesting);
    /// Changes the identifier of the source and its tracks.
    void rename(const std::string& id);

    /// Opens a file that cannot be sought again, and collects from its first packet on.
    CollectedPackets collectFromStart(InputFormatContext& context,
                                      const std::shared_ptr<MediaTrack>& anchor,
                                      const SubtitlesTracks& subtitlesTracks, const CMTime& time,
                                      const CMTime& preroll = kCMTimeZero);
    /// Moves to the first packet that is needed to show what is due at `time`.
    void seekSubtitlesAlone(const MediaTracks& tracks, const CMTime& time);
    CollectedPackets seekText(const SubtitlesTracks& subtitlesTracks, const CMTime& time);
    /// The last time before `time` from which the track can be read according to the index. Visual
    /// queue.
    std::optional<CMTime> keyframeTimeBefore(const CMTime& time, const MediaTrack& track);
    /// The streams to enable for a seek of these tracks.
    StreamIndexes steeringStreams(const MediaTracks& tracks, const CMTime& time);

    Atomic<std::string> id_;
    const URL url_;
    const FileBookmark fileBookmark_;
    const CMTime startTime_;
    const CMTime duration_;
    const std::vector<std::shared_ptr<VideoTrack>> videoTracks_;
    const std::vector<std::shared_ptr<AudioTrack>> audioTracks_;
    const SubtitlesTracks embeddedSubtitlesTracks_;
    const OptionalMetadata optionalMetadata_;
    const MediaChapters chapters_;
    const std::optional<std::string> textEncoding_;
    Atomic<ExternalSubtitlesTracks> externalSubtitlesTracks_;
    Atomic<Attached> fileResourceIdentifierToExternalSubtitlesMap_;
    /// In the order of their addition.
    Atomic<std::vector<std::shared_ptr<MediaSource>>> externalMediaSources_;
    Atomic<std::vector<NotificationObserver>> externalSubtitlesObservers_;
    const std::shared_ptr<dispatch::Queue> visualTracksQueue_;
    const std::shared_ptr<dispatch::Queue> audioTracksQueue_;
    /// Used instead of both contexts for a side file that is text. Visual queue.
    std::optional<TextPackets> textPackets_;
    const bool isSeekable_;
    // Closed in reverse order: the visual context first.
    InputFormatContext formatContextForAudioTracks_;
    InputFormatContext formatContextForVisualTracks_;
};

} // namespace zelvane
