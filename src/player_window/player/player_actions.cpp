// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/player/player_actions.h"

#include <cmath>
#include <utility>
#include <variant>

#include <QStandardPaths>

#include "player_window/controls/media_player_controls_view_controller.h"
#include "player_window/controls/playback_rates.h"
#include "player_window/controls/volume_slider.h"
#include "player_window/player/external_subtitles_addition.h"
#include "player_window/player/player_tracks.h"
#include "player_window/player/screenshot.h"
#include "player_window/player/track_choice.h"

namespace zelvane {

namespace {

QString subtitlesNotice(SubtitlesPosition position, const std::shared_ptr<SubtitlesTrack>& track,
                        const PlayableSource& source) {
    const QString name = track ? noticeNameOf(*track, source) : PlayerActions::tr("off");
    return position == SubtitlesPosition::primary
               ? PlayerActions::tr("Subtitles (bottom): %1").arg(name)
               : PlayerActions::tr("Subtitles (top): %1").arg(name);
}

} // namespace

PlayerActions::PlayerActions(std::shared_ptr<MediaPlayer> mediaPlayer,
                             MediaPlayerControlsViewController& controls,
                             ExternalSubtitlesAddition& addition, PictureView* pictureView,
                             Handlers handlers)
    : mediaPlayer_(std::move(mediaPlayer)), controls_(controls), addition_(addition),
      pictureView_(pictureView), handlers_(std::make_shared<const Handlers>(std::move(handlers))),
      loop_(mediaPlayer_) {}

PlayerActions::~PlayerActions() = default;

void PlayerActions::perform(PlayerAction action) {
    if (!performTransport(action) && !performChapter(action) && !performSound(action) &&
        !performRate(action) && !performTracks(action) && !performPicture(action)) {
        handlers_->performOther(action);
    }
}

void PlayerActions::perform(const MenuCommand& command) {
    if (const auto* action = std::get_if<PlayerAction>(&command)) {
        perform(*action);
    } else if (const auto* chosen = std::get_if<RateChoice>(&command)) {
        setRate(chosen->rate);
    } else if (const auto* choice = std::get_if<TrackChoice>(&command)) {
        selectTracks(*mediaPlayer_, selectionAfterChoosing(choice->role, choice->track,
                                                           selectedTracksOf(*mediaPlayer_)));
    } else if (const auto* chapter = std::get_if<ChapterChoice>(&command)) {
        goToChapter(chapter->index);
    } else {
        handlers_->performOther(command);
    }
}

bool PlayerActions::performTransport(PlayerAction action) {
    switch (action) {
    case PlayerAction::togglePlayPause:
        controls_.togglePlayPauseState();
        return true;
    case PlayerAction::jumpBackward:
        controls_.jumpBackward();
        return true;
    case PlayerAction::jumpForward:
        controls_.jumpForward();
        return true;
    case PlayerAction::seekSecondBackward:
        controls_.seekBy(-1);
        return true;
    case PlayerAction::seekSecondForward:
        controls_.seekBy(1);
        return true;
    case PlayerAction::stepBackward:
        controls_.stepBackward();
        return true;
    case PlayerAction::stepForward:
        controls_.stepForward();
        return true;
    case PlayerAction::jumpToBeginning:
        controls_.jumpToBeginning();
        return true;
    case PlayerAction::jumpToEnd:
        controls_.jumpToEnd();
        return true;
    case PlayerAction::markLoop:
        handlers_->showNotice(loop_.mark());
        return true;
    case PlayerAction::toggleEndTime:
        controls_.toggleEndAndRemainingTimeLabelVisibility();
        return true;
    default:
        return false;
    }
}

bool PlayerActions::performChapter(PlayerAction action) {
    const MediaChapters& chapters = mediaPlayer_->mediaSource()->chapters();
    switch (action) {
    case PlayerAction::previousChapter:
        goToChapter(chapterBefore(chapters, mediaPlayer_->currentTime()));
        return true;
    case PlayerAction::nextChapter:
        goToChapter(chapterAfter(chapters, mediaPlayer_->currentTime()));
        return true;
    default:
        return false;
    }
}

void PlayerActions::goToChapter(std::optional<std::size_t> index) {
    const MediaChapters& chapters = mediaPlayer_->mediaSource()->chapters();
    if (index) {
        mediaPlayer_->queue()->sync([&] { mediaPlayer_->seekTo(chapters[*index].start); });
        handlers_->showNotice(tr("Chapter: %1").arg(chapterTitle(chapters, *index)));
    } else {
        handlers_->showNotice(chapters.empty() ? tr("No chapters") : tr("No other chapter"));
    }
}

bool PlayerActions::performSound(PlayerAction action) {
    switch (action) {
    case PlayerAction::raiseVolume:
        changeVolume(VolumeSlider::kStep);
        return true;
    case PlayerAction::lowerVolume:
        changeVolume(-VolumeSlider::kStep);
        return true;
    case PlayerAction::toggleMute:
        controls_.toggleMute();
        showVolume();
        return true;
    default:
        return false;
    }
}

bool PlayerActions::performRate(PlayerAction action) {
    switch (action) {
    case PlayerAction::increaseRate:
        setRate(playbackRateAbove(rate()));
        return true;
    case PlayerAction::decreaseRate:
        setRate(playbackRateBelow(rate()));
        return true;
    case PlayerAction::resetRate:
        setRate(1);
        return true;
    default:
        return false;
    }
}

bool PlayerActions::performTracks(PlayerAction action) {
    switch (action) {
    case PlayerAction::cyclePrimarySubtitles:
        cycleSubtitles(SubtitlesPosition::primary);
        return true;
    case PlayerAction::cycleSecondarySubtitles:
        cycleSubtitles(SubtitlesPosition::secondary);
        return true;
    case PlayerAction::cycleAudio:
        cycleAudio();
        return true;
    case PlayerAction::addSubtitles:
        addition_.showOpenPanel();
        return true;
    default:
        return false;
    }
}

bool PlayerActions::performPicture(PlayerAction action) {
    if (action != PlayerAction::takeScreenshot) {
        return false;
    }
    if (pictureView_ != nullptr) {
        takeScreenshot();
    }
    return true;
}

float PlayerActions::rate() const {
    return mediaPlayer_->queue()->sync([this] { return mediaPlayer_->desiredPlaybackRate(); });
}

void PlayerActions::setRate(float rate) {
    mediaPlayer_->queue()->sync([&] { mediaPlayer_->setDesiredPlaybackRate(rate); });
    handlers_->showNotice(tr("Speed: %1×").arg(static_cast<double>(rate)));
}

void PlayerActions::cycleSubtitles(SubtitlesPosition position) {
    const PlayableSource& source = *mediaPlayer_->mediaSource();
    if (source.videoTracks().empty()) {
        return;
    }
    const SelectedTracks next = selectionAfterCyclingSubtitles(position, source.subtitlesTracks(),
                                                               selectedTracksOf(*mediaPlayer_));
    selectTracks(*mediaPlayer_, next);
    handlers_->showNotice(subtitlesNotice(position, subtitlesAt(next, position), source));
}

void PlayerActions::cycleAudio() {
    const SelectedTracks next = selectionAfterCyclingAudio(
        mediaPlayer_->mediaSource()->audioTracks(), selectedTracksOf(*mediaPlayer_));
    if (next.audio) {
        selectTracks(*mediaPlayer_, next);
        handlers_->showNotice(
            tr("Audio: %1").arg(noticeNameOf(*next.audio, *mediaPlayer_->mediaSource())));
    }
}

void PlayerActions::changeVolume(double difference) {
    controls_.changeVolume(difference);
    showVolume();
}

void PlayerActions::showVolume() const {
    const auto percent = static_cast<int>(std::lround(mediaPlayer_->volume() * 100));
    handlers_->showNotice(mediaPlayer_->isMuted() ? tr("Volume: muted")
                                                  : tr("Volume: %1 %").arg(percent));
}

void PlayerActions::takeScreenshot() {
    const QString name = screenshotName(titleOf(*mediaPlayer_->mediaSource()),
                                        mediaPlayer_->currentTime().seconds());
    const auto report = [handlers = std::weak_ptr(handlers_)](const QString& fileName) {
        if (const auto present = handlers.lock()) {
            present->showNotice(fileName.isEmpty() ? tr("The screenshot could not be saved.")
                                                   : tr("Screenshot saved: %1").arg(fileName));
        }
    };
    saveScreenshot(screenshotOf(*pictureView_, effectiveVideoSizeOf(*mediaPlayer_)),
                   QStandardPaths::writableLocation(QStandardPaths::PicturesLocation), name,
                   report);
}

void PlayerActions::selectAdded(const ExternalSubtitlesTracks& tracks) {
    if (tracks.empty()) {
        return;
    }
    const SelectedTracks before = selectedTracksOf(*mediaPlayer_);
    const SelectedTracks after = selectionAfterAdding(tracks.front(), before);
    const PlayableSource& source = *mediaPlayer_->mediaSource();
    selectTracks(*mediaPlayer_, after);
    const auto position = after.primarySubtitles != before.primarySubtitles
                              ? SubtitlesPosition::primary
                              : SubtitlesPosition::secondary;
    handlers_->showNotice(after == before
                              ? tr("Added: %1").arg(noticeNameOf(*tracks.front(), source))
                              : subtitlesNotice(position, tracks.front(), source));
}

PlayerMenuState PlayerActions::menuState() const {
    PlayerMenuState state;
    state.tracks = tracksOf(*mediaPlayer_->mediaSource());
    state.selectedTracks = selectedTracksOf(*mediaPlayer_);
    state.displayLanguage = displayLanguage();
    state.chapters = mediaPlayer_->mediaSource()->chapters();
    state.chapter = chapterAt(state.chapters, mediaPlayer_->currentTime());
    state.rate = rate();
    state.isPlaying = mediaPlayer_->queue()->sync([this] { return mediaPlayer_->isPlaying(); });
    state.isMuted = mediaPlayer_->isMuted();
    state.isAddingSubtitles = addition_.isUnderWay();
    return state;
}

} // namespace zelvane
