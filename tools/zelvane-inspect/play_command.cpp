// SPDX-License-Identifier: GPL-3.0-or-later
#include <chrono>
#include <cmath>
#include <map>
#include <memory>
#include <string>

#include "commands.h"
#include "json_text.h"
#include "main_loop.h"
#include "media_player/playback/media_player.h"
#include "opened_media.h"
#include "player_assembly/player_assembly.h"
#include "process_usage.h"
#include "rendering/null_video_presenter.h"

namespace zelvane::inspect {
namespace {

using Clock = std::chrono::steady_clock;

struct PlayOptions {
    SoundOutput sound = SoundOutput::none;
    bool showsWindow = false;
    float rate = 1;
    /// Wall time to play; none plays to the end.
    std::optional<double> seconds;
};

template <class Value>
Value choice(const Arguments& arguments, const std::string& option, const std::string& otherwise,
             const std::map<std::string, Value>& choices) {
    const auto word = arguments.text(option, otherwise);
    const auto found = choices.find(word);
    if (found == choices.end()) {
        throw UsageError("no such --" + option + ": " + word);
    }
    return found->second;
}

PlayOptions playOptions(const Arguments& arguments) {
    arguments.allow({"audio", "video", "rate", "for"});
    PlayOptions options;
    options.sound =
        choice<SoundOutput>(arguments, "audio", "null",
                            {{"null", SoundOutput::none}, {"pulse", SoundOutput::soundServer}});
    options.showsWindow =
        choice<bool>(arguments, "video", "null", {{"null", false}, {"window", true}});
    options.rate = static_cast<float>(arguments.number("rate").value_or(1));
    if (!(options.rate > 0)) {
        throw UsageError("--rate must be above 0");
    }
    options.seconds = arguments.number("for");
    return options;
}

Json finiteOrNull(double value) {
    return std::isfinite(value) ? Json(value) : Json(nullptr);
}

/// A player of the file, run by the main loop of this program.
class Playback {
  public:
    Playback(const Arguments& arguments, const PlayOptions& options)
        : begin_(Clock::now()), hostBegin_(HostClock::system()->now()), options_(options),
          loop_(MainLoop::make(options.showsWindow)), source_(openMedia(arguments.file())),
          parts_(makePlayerParts(options.sound)) {}

    void run() {
        startPlayer();
        const auto deadline =
            options_.seconds ? Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                                  std::chrono::duration<double>(*options_.seconds))
                             : Clock::time_point::max();
        loop_->runUntil([&] { return hasEnded_ || loop_->isClosed(); }, deadline);
        frames_ = parts_.displayLayer->statistics();
        sound_ = parts_.audioRenderer->statistics();
        player_->queue()->sync([this] { player_->pause(); });
    }

    Json report() const {
        const auto usage = ProcessUsage::now();
        Json firstFrame = nullptr;
        if (frames_.firstFrameShownAt) {
            firstFrame =
                std::chrono::duration<double>(*frames_.firstFrameShownAt - hostBegin_).count();
        }
        return {{"framesShown", frames_.framesShown},
                {"framesDropped", frames_.framesDropped},
                {"framesLate", frames_.framesLate},
                {"meanFrameError", finiteOrNull(frames_.meanFrameError)},
                {"maxFrameError", finiteOrNull(frames_.maxFrameError)},
                {"audioClockError", finiteOrNull(sound_.maxClockError)},
                {"meanAudioClockError", finiteOrNull(sound_.meanClockError)},
                {"underruns", sound_.underruns},
                {"timeToFirstFrame", firstFrame},
                {"wallSeconds", std::chrono::duration<double>(Clock::now() - begin_).count()},
                {"cpuSeconds", usage.cpuSeconds},
                {"peakMemory", usage.peakMemory}};
    }

    void close() {
        endObserver_ = nullptr;
        player_ = nullptr;
        loop_->drain();
    }

  private:
    void startPlayer() {
        bool isMade = false;
        makeMediaPlayer(playerEnvironment(parts_), source_, defaultTracks(*source_), std::nullopt,
                        dispatch::mainQueue(), [&](std::shared_ptr<MediaPlayer> player) {
                            player_ = std::move(player);
                            isMade = true;
                        });
        loop_->runUntil([&] { return isMade; }, Clock::time_point::max());
        showPicture();
        endObserver_ = player_->timeObserverManager().addBoundaryTimeObserver(
            {source_->duration()}, dispatch::mainQueue(), [this] { hasEnded_ = true; });
        player_->queue()->sync([this] {
            player_->setDesiredPlaybackRate(options_.rate);
            player_->play();
        });
    }

    void showPicture() {
        if (const auto track = player_->selectedVideoTrack()) {
            parts_.displayLayer->setPresenter(
                options_.showsWindow ? loop_->openWindow(track->dimensions().effectiveSize)
                                     : std::make_shared<NullVideoPresenter>());
        }
    }

    Clock::time_point begin_;
    HostTime hostBegin_;
    PlayOptions options_;
    std::unique_ptr<MainLoop> loop_;
    std::shared_ptr<MediaSource> source_;
    PlayerParts parts_;
    std::shared_ptr<MediaPlayer> player_;
    TimeObserverManager::ObserverRef endObserver_;
    bool hasEnded_ = false;
    SampleBufferDisplayLayer::Statistics frames_;
    AudioStatistics sound_;
};

} // namespace

int runPlay(const Arguments& arguments) {
    Playback playback(arguments, playOptions(arguments));
    playback.run();
    printLine(playback.report());
    playback.close();
    return 0;
}

} // namespace zelvane::inspect
