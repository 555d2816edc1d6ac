// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <thread>
#include <variant>
#include <vector>

#include "media_player/media_source/playable_source.h"
#include "media_player/playback/audio_data_provider.h"
#include "media_player/playback/default_track_selection.h"
#include "media_player/playback/external_subtitles_data_provider.h"
#include "media_player/playback/media_player_environment.h"
#include "media_player/playback/playback_state.h"
#include "media_player/playback/subtitles_position.h"
#include "media_player/playback/time_observer_manager.h"
#include "media_player/playback/visual_data_provider.h"

namespace zelvane {

/// Shows the picture in a window of its own, above the player that it is set on.
class PictureInPictureControlling {
  public:
    virtual ~PictureInPictureControlling() = default;
    /// Reads again whether the player plays. Main queue.
    virtual void invalidatePlaybackState() = 0;
};

/// Plays one media source: owns the clock, the renderers and the providers that feed them, and
/// performs what PlaybackState decides. Used on its queue() unless a line says otherwise; callers
/// wrap each call in a sync() there. That queue never waits for the main queue.
///
/// All times are relative to the media's start: 0 is its first moment, the duration its end.
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
    static constexpr std::string_view kVolumeDidChangeNotification =
        "zelvane.MediaPlayer.volumeDidChange";

    /// A paused player at the start of the source, without tracks. Main queue; any other stops the
    /// process. Most callers want makeMediaPlayer().
    static std::shared_ptr<MediaPlayer> create(MediaPlayerEnvironment environment,
                                               std::shared_ptr<PlayableSource> mediaSource);
    MediaPlayer(Key key, MediaPlayerEnvironment environment,
                std::shared_ptr<PlayableSource> mediaSource);
    /// On any thread.
    ~MediaPlayer();
    MediaPlayer(const MediaPlayer&) = delete;
    MediaPlayer& operator=(const MediaPlayer&) = delete;

    // These never change; any thread.
    const std::shared_ptr<dispatch::Queue>& queue() const { return queue_; }
    const std::shared_ptr<PlayableSource>& mediaSource() const { return mediaSource_; }
    /// Where the media begins on the file's own time line, which is that of the clock.
    CMTime startTime() const { return mediaSource_->startTime(); }
    const std::shared_ptr<VideoRendering>& displayLayer() const {
        return environment_.displayLayer.rendering;
    }
    const std::shared_ptr<AudioRendering>& audioRenderer() const {
        return environment_.audioRenderer.rendering;
    }
    const std::shared_ptr<RenderSynchronizer>& renderSynchronizer() const {
        return environment_.renderSynchronizer;
    }
    const TimeObserverManager& timeObserverManager() const { return timeObserverManager_; }
    const std::shared_ptr<SubtitlesRenderer>& subtitlesRenderer(SubtitlesPosition position) const {
        return at(position).renderer;
    }
    /// Any thread.
    CMTime currentTime() const;

    /// Calls `handler` for each notification of this player, until the result is destroyed: on
    /// `queue`, or on a thread that is not the main one if there is none. Any thread.
    [[nodiscard]] std::vector<NotificationObserver>
    observeNotifications(const std::shared_ptr<dispatch::Queue>& queue,
                         const NotificationCenter::Handler& handler) const;

    /// The rate of playing as the user sees it, which a seek does not change.
    float rate() const;
    bool isPlaying() const { return rate() > 0; }
    /// The rate that play() sets. A change takes effect at once while the player plays.
    float desiredPlaybackRate() const;
    void setDesiredPlaybackRate(float rate);
    void play();
    void pause();
    void togglePlayPause();

    /// Stops the clock at the nearest time within the media at once, and restarts it when all
    /// providers have handed on their first data. `completion`, if there is one, runs on
    /// `completionQueue`, or on the main queue without one, when the player has settled on this or
    /// a later target, whether or not the seek succeeded.
    void seekTo(const CMTime& time, std::shared_ptr<dispatch::Queue> completionQueue = nullptr,
                dispatch::Task completion = nullptr);
    /// Relative to the clock's time, which is the target of the latest seek.
    void seekBy(const SeekUnits& units);
    /// seekTo(), called off the queue.
    void seekSynchronouslyTo(const CMTime& time,
                             const std::shared_ptr<dispatch::Queue>& completionQueue,
                             const dispatch::Task& completion);
    /// Drops everything queued in the renderers and queues it again.
    void reseekToCurrentTime();
    /// A drag begins: the clock is stopped until it ends.
    void beginInteractiveSeeking();
    void endInteractiveSeeking();
    bool isSeekingInteractively() const;

    // The selections: any thread except tasks of queue(). Selecting the present track changes
    // nothing; any other selection posts its notification and is shown at once.
    std::shared_ptr<VideoTrack> selectedVideoTrack() const { return selectedVideoTrack_.load(); }
    void setSelectedVideoTrack(std::shared_ptr<VideoTrack> track);
    std::shared_ptr<AudioTrack> selectedAudioTrack() const { return selectedAudioTrack_.load(); }
    void setSelectedAudioTrack(std::shared_ptr<AudioTrack> track);
    std::shared_ptr<SubtitlesTrack> selectedSubtitlesTrack(SubtitlesPosition position) const {
        return at(position).selectedTrack.load();
    }
    /// `didTakeOver` runs on a thread that is not the main one when the provider of a side file has
    /// taken the track over; for any other track it does not run.
    void setSelectedSubtitlesTrack(SubtitlesPosition position,
                                   std::shared_ptr<SubtitlesTrack> track,
                                   const dispatch::Task& didTakeOver = nullptr);

    /// Selects the tracks of a new player and seeks once for all of them, to `time`. `completion`
    /// is that of seekTo(). Before another thread knows the player.
    void selectInitialTracks(const TrackSelection& tracks, const CMTime& time,
                             const std::shared_ptr<dispatch::Queue>& completionQueue,
                             const dispatch::Task& completion);

    // The volume of this player's stream at the sound server, as AudioRendering has it. Any thread.
    float volume() const { return audioRenderer()->volume(); }
    void setVolume(float volume) { audioRenderer()->setVolume(volume); }
    bool isMuted() const { return audioRenderer()->isMuted(); }
    void setMuted(bool isMuted) { audioRenderer()->setMuted(isMuted); }

    // Picture in Picture: any thread except tasks of queue().
    std::shared_ptr<PictureInPictureControlling> pictureInPictureController() const {
        return pictureInPictureController_.load();
    }
    void setPictureInPictureController(std::shared_ptr<PictureInPictureControlling> controller) {
        pictureInPictureController_.store(std::move(controller));
    }
    void pictureInPictureControllerSetPlaying(bool isPlaying);
    bool pictureInPictureControllerIsPlaybackPaused() const;

    /// Requests the ownership of audio routing for this player, which releases it when it is
    /// destroyed. A player that has it already only runs the completion. Any thread.
    void requestAudioRoutingOwnership(const std::shared_ptr<dispatch::Queue>& completionQueue,
                                      dispatch::Task completion);

  private:
    using Method = void (MediaPlayer::*)();

    /// What belongs to one of the two positions of subtitles.
    struct Subtitles {
        std::string_view notification;
        std::shared_ptr<SubtitlesRenderer> renderer;
        std::shared_ptr<ExternalSubtitlesDataProvider> dataProvider;
        Atomic<std::shared_ptr<SubtitlesTrack>> selectedTrack;
        /// Entered until the provider of the track before the selected one has given it up. By the
        /// lock of `selectedTrack`.
        dispatch::Group leaving;
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
    /// Calls `method` on the queue while the player lives.
    std::function<void()> asyncCalling(Method method);
    void post(std::string_view notification);

    PlaybackState::Clock clock() const;
    void perform(const PlaybackState::Actions& actions);
    void perform(const PlaybackState::SetClockRate& action);
    void perform(const PlaybackState::StartSeek& action);
    void perform(const PlaybackState::ReportRate& action);

    void synchronizerRateDidChange();
    void audioRendererWasFlushedAutomatically(const Notification& notification);
    void pauseSynchronously();
    void seekProvider(const std::shared_ptr<PullDrivenProvider>& provider, const CMTime& time,
                      const dispatch::Group& group);
    void finishSeekOperation(const std::vector<SeekOperation::CompletionHandlerInfo>& handlers);

    void willChangeSubtitlesTrack(SubtitlesPosition position,
                                  const std::shared_ptr<SubtitlesTrack>& old);
    void didChangeSubtitlesTrack(SubtitlesPosition position,
                                 const std::shared_ptr<SubtitlesTrack>& track,
                                 const dispatch::Task& didTakeOver);
    void selectionDidChange(bool hasTrack, std::string_view notification);

    const MediaPlayerEnvironment environment_;
    const std::shared_ptr<dispatch::Queue> queue_;
    AutomaticTerminationManager automaticTerminationManager_;
    IdleSleepManager idleSleepManager_;
    const std::shared_ptr<PlayableSource> mediaSource_;
    const TimeObserverManager timeObserverManager_;
    std::shared_ptr<VisualDataProvider> visualDataProvider_;
    std::shared_ptr<AudioDataProvider> audioDataProvider_;

    Atomic<std::shared_ptr<PictureInPictureControlling>> pictureInPictureController_;
    Atomic<std::shared_ptr<VideoTrack>> selectedVideoTrack_;
    Atomic<std::shared_ptr<AudioTrack>> selectedAudioTrack_;
    /// By SubtitlesPosition. The two selections share one lock, so that they change as a pair.
    std::array<Subtitles, 2> subtitles_;

    PlaybackState state_;
    /// The thread that sets the clock's rate for this player now. The clock announces a change on
    /// the thread that makes it, so that all other announcements are of changes from outside.
    std::atomic<std::thread::id> rateSettingThread_;
    bool isSelectingInitialTracks_ = false;

    std::atomic<bool> ownsAudioRouting_{false};
    TimeObserverManager::ObserverRef endTimeObserver_;
    std::shared_ptr<void> userSpecifiedTextStyleObserver_;
    std::vector<NotificationObserver> notificationObservers_;
};

/// Makes a player on the main queue, selects the tracks, seeks to `initialTime` if there is one,
/// requests the ownership of audio routing, and gives the player to `completion` on
/// `completionQueue`. Any thread.
void makeMediaPlayer(MediaPlayerEnvironment environment,
                     std::shared_ptr<PlayableSource> mediaSource, TrackSelection tracks,
                     std::optional<CMTime> initialTime,
                     std::shared_ptr<dispatch::Queue> completionQueue,
                     std::function<void(std::shared_ptr<MediaPlayer>)> completion);

} // namespace zelvane
