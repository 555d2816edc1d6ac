// SPDX-License-Identifier: GPL-3.0-or-later
#include <atomic>
#include <chrono>
#include <memory>

#include "buffer_json.h"
#include "commands.h"
#include "first_buffer.h"
#include "main_loop.h"
#include "media_player/playback/media_player.h"
#include "opened_media.h"
#include "player_assembly/player_assembly.h"
#include "rendering/null_video_presenter.h"

namespace zelvane::inspect {
namespace {

using Clock = std::chrono::steady_clock;

/// A paused player with watched renderers.
class SeekingPlayer {
  public:
    explicit SeekingPlayer(const std::string& file)
        : loop_(MainLoop::make(false)), source_(openMedia(file)),
          parts_(makePlayerParts(SoundOutput::none)),
          picture_(std::make_shared<WatchedVideoRenderer>(parts_.displayLayer)),
          sound_(std::make_shared<WatchedAudioRenderer>(parts_.audioRenderer)) {
        parts_.displayLayer->setPresenter(std::make_shared<NullVideoPresenter>());
        bool isMade = false;
        makeMediaPlayer(environment(), source_, defaultTracks(*source_), std::nullopt,
                        dispatch::mainQueue(), [&](std::shared_ptr<MediaPlayer> player) {
                            player_ = std::move(player);
                            isMade = true;
                        });
        loop_->runUntil([&] { return isMade; }, Clock::time_point::max());
    }
    ~SeekingPlayer() {
        player_ = nullptr;
        loop_->drain();
    }
    SeekingPlayer(const SeekingPlayer&) = delete;
    SeekingPlayer& operator=(const SeekingPlayer&) = delete;

    Json seek(double seconds) {
        const auto begin = Clock::now();
        std::atomic<Clock::duration> duration{Clock::duration::zero()};
        player_->seekSynchronouslyTo(targetFromSeconds(seconds), completions_, [&] {
            duration = Clock::now() - begin;
            // Wakes the loop.
            dispatch::mainQueue()->async([] {});
        });
        loop_->runUntil([&] { return duration.load() != Clock::duration::zero(); },
                        Clock::time_point::max());
        const std::chrono::duration<double, std::milli> milliseconds = duration.load();
        const auto frame = picture_->firstBuffer();
        const auto sound = sound_->firstBuffer();
        const CMTime start = source_->startTime();
        return {{"target", seconds},
                {"milliseconds", milliseconds.count()},
                {"frame", frame ? frameJson(*frame, start) : Json(nullptr)},
                {"audio", sound ? audioJson(*sound, start) : Json(nullptr)}};
    }

  private:
    MediaPlayerEnvironment environment() const {
        auto environment = playerEnvironment(parts_);
        environment.displayLayer.rendering = picture_;
        environment.audioRenderer.rendering = sound_;
        return environment;
    }

    std::unique_ptr<MainLoop> loop_;
    std::shared_ptr<MediaSource> source_;
    PlayerParts parts_;
    std::shared_ptr<WatchedVideoRenderer> picture_;
    std::shared_ptr<WatchedAudioRenderer> sound_;
    std::shared_ptr<dispatch::Queue> completions_ = dispatch::makeSerialQueue("Completions");
    std::shared_ptr<MediaPlayer> player_;
};

} // namespace

int runSeek(const Arguments& arguments) {
    arguments.allow({"to"});
    const auto targets = arguments.numbers("to");
    if (targets.empty()) {
        throw UsageError("seek needs --to");
    }
    SeekingPlayer player(arguments.file());
    for (const double target : targets) {
        printLine(player.seek(target));
    }
    return 0;
}

} // namespace zelvane::inspect
