// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "media_player/playback/audio_data_provider.h"
#include "media_player/playback/default_track_selection.h"
#include "media_player/playback/media_player_environment.h"
#include "media_player/playback/seek_operation.h"
#include "media_player/playback/time_observer_manager.h"
#include "media_player/playback/visual_data_provider.h"

namespace zelvane {

/// Shows the picture in a window of its own, above the player that it was set on.
class PictureInPictureControlling {
  public:
    virtual ~PictureInPictureControlling() = default;
    /// Reads anew whether the player plays. Main queue.
    virtual void invalidatePlaybackState() = 0;
};

/// Plays one media source: owns the clock, the renderers and the providers that feed them, and
/// decides at what rate the clock runs. Used on its queue() unless a line says otherwise; callers
/// wrap each call in a sync() there. Nothing on that queue waits for the main queue.
///
/// All times are relative to the media's start: 0 is its first moment, the duration its end.
///
/// Whether it plays is not stored: it is the rate of the clock, and while a seek has stopped the
/// clock, the rate to resume at.
///
///            seek, clock stops at the target
///     idle ----------------------------------> seeking <--+ newer target waits: the next seek
///      ^                                        |    |    |
///      |  restart at the desired rate,          |    +----+ all providers are done
///      +----------------------------------------+
///      |  or stop at the end                    |  while dragging
///      |                                        v
///      +------------------------------- dragging, at rest  <-- beginInteractiveSeeking
///         endInteractiveSeeking
///
/// One seek at most is at work in the providers, and one waits. A newer one takes the place of the
/// waiting one and answers for it: its completions run too, in order, after the newer one.
class MediaPlayer : public std::enable_shared_from_this<MediaPlayer> {
    struct Key {};

  public:
    struct Seconds {
        double count;
    };
    struct Frames {
        std::int64_t count;
    };
    using SeekUnits = std::variant<Seconds, Frames>;

    static constexpr std::string_view kSelectedVideoTrackDidChangeNotification =
        "zelvane.MediaPlayer.selectedVideoTrackDidChange";
    static constexpr std::string_view kSelectedAudioTrackDidChangeNotification =
        "zelvane.MediaPlayer.selectedAudioTrackDidChange";
    static constexpr std::string_view kSelectedPrimarySubtitlesTrackDidChangeNotification =
        "zelvane.MediaPlayer.selectedPrimarySubtitlesTrackDidChange";
    static constexpr std::string_view kSelectedSecondarySubtitlesTrackDidChangeNotification =
        "zelvane.MediaPlayer.selectedSecondarySubtitlesTrackDidChange";
    static constexpr std::string_view kRateDidChangeNotification =
        "zelvane.MediaPlayer.rateDidChange";
    static constexpr std::string_view kDidSeekNotification = "zelvane.MediaPlayer.didSeek";

    /// A paused player at the start of the source, without tracks. Main queue; anywhere else it
    /// stops the process. Most callers want makeMediaPlayer().
    static std::shared_ptr<MediaPlayer> create(MediaPlayerEnvironment environment,
                                               std::shared_ptr<PacketSource> mediaSource);
    MediaPlayer(Key key, MediaPlayerEnvironment environment,
                std::shared_ptr<PacketSource> mediaSource);
    /// On any thread.
    ~MediaPlayer();
    MediaPlayer(const MediaPlayer&) = delete;
    MediaPlayer& operator=(const MediaPlayer&) = delete;

    // These never change; any thread.
    const std::shared_ptr<dispatch::Queue>& queue() const { return queue_; }
    const std::shared_ptr<PacketSource>& mediaSource() const { return mediaSource_; }
    const std::shared_ptr<VideoRendering>& displayLayer() const { return displayLayer_.rendering; }
    const std::shared_ptr<AudioRendering>& audioRenderer() const {
        return audioRenderer_.rendering;
    }
    const std::shared_ptr<RenderSynchronizer>& renderSynchronizer() const {
        return renderSynchronizer_;
    }
    const TimeObserverManager& timeObserverManager() const { return timeObserverManager_; }
    const std::shared_ptr<SubtitlesRenderer>& subtitlesRenderer(SubtitlesPosition position) const {
        return at(position).renderer;
    }
    /// Any thread.
    CMTime currentTime() const;

    /// The rate of playing as a person sees it, which a seek does not change.
    float rate() const;
    bool isPlaying() const { return rate() > 0; }
    /// What playing means; takes effect at once when the player plays.
    float desiredPlaybackRate() const;
    void setDesiredPlaybackRate(float rate);
    void play();
    void pause();
    void togglePlayPause();

    /// Stops the clock at the nearest time within the media at once, and lets it go on once all
    /// providers have handed on their first data. `completion`, if there is one, runs on
    /// `completionQueue` when the player has settled on this or a later target; it tells no
    /// failure.
    void seekTo(const CMTime& time, std::shared_ptr<dispatch::Queue> completionQueue = nullptr,
                dispatch::Task completion = nullptr);
    /// Relative to where the clock stands, which is the target of the latest seek.
    void seekBy(const SeekUnits& units);
    /// seekTo(), called off the queue.
    void seekSynchronouslyTo(const CMTime& time,
                             const std::shared_ptr<dispatch::Queue>& completionQueue,
                             const dispatch::Task& completion);
    /// Throws away and builds anew all that is queued in the renderers.
    void reseekToCurrentTime();
    /// A drag begins: the clock stands until it ends.
    void beginInteractiveSeeking();
    void endInteractiveSeeking();

    // The selections: any thread but tasks of queue(). A track that was chosen before changes
    // nothing; any other is told by its notification, and shows at once.
    std::shared_ptr<VideoTrack> selectedVideoTrack() const { return selectedVideoTrack_.load(); }
    void setSelectedVideoTrack(std::shared_ptr<VideoTrack> track);
    std::shared_ptr<AudioTrack> selectedAudioTrack() const { return selectedAudioTrack_.load(); }
    void setSelectedAudioTrack(std::shared_ptr<AudioTrack> track);
    std::shared_ptr<SubtitlesTrack> selectedSubtitlesTrack(SubtitlesPosition position) const {
        return at(position).selectedTrack.load();
    }
    void setSelectedSubtitlesTrack(SubtitlesPosition position,
                                   std::shared_ptr<SubtitlesTrack> track);

    // Picture in Picture: any thread but tasks of queue().
    std::shared_ptr<PictureInPictureControlling> pictureInPictureController() const {
        return pictureInPictureController_.load();
    }
    void setPictureInPictureController(std::shared_ptr<PictureInPictureControlling> controller) {
        pictureInPictureController_.store(std::move(controller));
    }
    void pictureInPictureControllerSetPlaying(bool isPlaying);
    bool pictureInPictureControllerIsPlaybackPaused() const;

    /// Asks, on behalf of this player, for the sound's route; the player gives it back when it
    /// goes. Any thread.
    void requestAudioRoutingOwnership(const std::shared_ptr<dispatch::Queue>& completionQueue,
                                      dispatch::Task completion);

  private:
    using Method = void (MediaPlayer::*)();

    /// What belongs to one of the two places for subtitles.
    struct Subtitles {
        std::string_view notification;
        void (VisualDataProvider::*setEmbeddedTrack)(std::shared_ptr<SubtitlesTrack>);
        std::shared_ptr<SubtitlesRenderer> renderer;
        std::shared_ptr<SubtitlesDataProvider> dataProvider;
        Atomic<std::shared_ptr<SubtitlesTrack>> selectedTrack;
    };
    Subtitles& at(SubtitlesPosition position) {
        return subtitles_.at(static_cast<std::size_t>(position));
    }
    const Subtitles& at(SubtitlesPosition position) const {
        return subtitles_.at(static_cast<std::size_t>(position));
    }

    void makeSubtitles(SubtitlesPosition position);
    void observe();
    void observePlatform();
    /// A notification handler that calls `method` here, or on the queue, while the player lives.
    NotificationCenter::Handler handlerCalling(Method method);
    std::function<void()> asyncCalling(Method method);
    void post(std::string_view notification);

    bool isSeeking() const;
    void setSynchronizerRate(float rate, std::optional<CMTime> time = std::nullopt);
    void handleEndOfMedia();
    void clockDidReachEnd();
    void playbackStateDidChange();
    void synchronizerRateDidChange();
    void handleSynchronizerRateChange();
    void audioRendererWasFlushedAutomatically(const Notification& notification);
    void pauseSynchronously();

    void performNextSeekOperation();
    void seekProvider(const std::shared_ptr<DataProviding>& provider, const CMTime& time,
                      const dispatch::Group& group);
    void finishSeekOperation(const std::vector<SeekOperation::CompletionHandlerInfo>& handlers);
    void beginPostSeekOperation();
    void performPostSeekOperation();

    /// The provider of the old track counts in `leaving` until it is done; that of the new one
    /// waits for it.
    void willChangeSubtitlesTrack(Subtitles& subtitles, const std::shared_ptr<SubtitlesTrack>& old,
                                  const dispatch::Group& leaving);
    void didChangeSubtitlesTrack(SubtitlesPosition position,
                                 const std::shared_ptr<SubtitlesTrack>& track,
                                 const dispatch::Group& leaving);
    void selectionDidChange(bool hasTrack, std::string_view notification);

    const MediaPlayerEnvironment environment_;
    const ClockedRenderer<VideoRendering> displayLayer_;
    const ClockedRenderer<AudioRendering> audioRenderer_;
    const std::shared_ptr<RenderSynchronizer> renderSynchronizer_;
    const std::shared_ptr<dispatch::Queue> queue_;
    AutomaticTerminationManager automaticTerminationManager_;
    IdleSleepManager idleSleepManager_;
    const std::shared_ptr<PacketSource> mediaSource_;
    const TimeObserverManager timeObserverManager_;
    std::shared_ptr<VisualDataProvider> visualDataProvider_;
    std::shared_ptr<AudioDataProvider> audioDataProvider_;

    Atomic<std::shared_ptr<PictureInPictureControlling>> pictureInPictureController_;
    Atomic<std::shared_ptr<VideoTrack>> selectedVideoTrack_;
    Atomic<std::shared_ptr<AudioTrack>> selectedAudioTrack_;
    /// By SubtitlesPosition. The two selections share one lock, so that they change as a pair.
    std::array<Subtitles, 2> subtitles_;

    float desiredPlaybackRate_ = 1;
    float desiredRateAfterSeeking_ = 1;
    bool isSeekingInteractively_ = false;
    bool isPerformingSeekOperation_ = false;
    bool isPerformingPostSeekOperation_ = false;
    std::optional<SeekOperation> nextSeekOperation_;
    /// The rate last given to the clock, until the clock has announced it.
    std::optional<float> recentlyChangedSynchronizerRate_;

    std::atomic<bool> ownsAudioRouting_{false};
    TimeObserverManager::ObserverRef endTimeObserver_;
    std::shared_ptr<void> userSpecifiedTextStyleObserver_;
    std::vector<NotificationObserver> notificationObservers_;
};

/// Makes a player on the main queue, selects the tracks, seeks to `initialTime` if there is one,
/// asks for the sound's route, and hands the player to `completion` on `completionQueue`. Any
/// thread.
void makeMediaPlayer(MediaPlayerEnvironment environment, std::shared_ptr<PacketSource> mediaSource,
                     TrackSelection tracks, std::optional<CMTime> initialTime,
                     std::shared_ptr<dispatch::Queue> completionQueue,
                     std::function<void(std::shared_ptr<MediaPlayer>)> completion);

} // namespace zelvane
