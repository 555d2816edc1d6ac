// SPDX-License-Identifier: GPL-3.0-or-later
//
// Plays a file with a private sound server and without a window, seeks while it plays, and prints
// the time from the first picture to the next one, at the start and after each seek.
//
//   playing-start FILE SEEKS asleep    the sink has rendered two seconds of silence ahead
//   playing-start FILE SEEKS awake     its monitor is recorded, so that it renders 10 ms ahead

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <vector>

#include <fmt/format.h>

#include "main_loop.h"
#include "media_player/media_source/media_source.h"
#include "media_player/playback/media_player.h"
#include "player_assembly/player_assembly.h"
#include "rendering/null_video_presenter.h"
#include "tests/platform/pulse_audio/monitor_recorder.h"
#include "tests/platform/pulse_audio/private_sound_server.h"

namespace zelvane {
namespace {

using Clock = std::chrono::steady_clock;

double milliseconds(HostDuration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

/// Records when each picture is shown.
class PictureLog final : public VideoPresenter {
  public:
    void prepare(const PresentedFrame& /*frame*/) override {}
    void present(const PresentedFrame& frame, ShownHandler shown) override {
        const HostTime now = HostClock::system()->now();
        {
            const std::lock_guard lock(mutex_);
            if (frame.pixelBuffer != latest_) {
                latest_ = frame.pixelBuffer;
                shownAt_.push_back(now);
            }
        }
        shown(now);
    }
    void removeImage() override {}
    HostDuration presentationDelay() const override { return HostDuration(0); }

    std::vector<HostTime> shownSince(HostTime time) const {
        const std::lock_guard lock(mutex_);
        return {std::lower_bound(shownAt_.begin(), shownAt_.end(), time), shownAt_.end()};
    }

  private:
    mutable std::mutex mutex_;
    CVPixelBufferRef latest_;
    std::vector<HostTime> shownAt_;
};

class Session {
  public:
    Session(const std::string& file, bool isAwake)
        : source_(MediaSource::open(URL::fromPath(file), std::nullopt, true)) {
        setenv("PULSE_SERVER", server_.address().c_str(), 1); // NOLINT(concurrency-mt-unsafe)
        if (isAwake) {
            recorder_.emplace(server_.address(), "n1");
        }
    }
    ~Session() {
        player_ = nullptr;
        loop_->drain();
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    void start() {
        const HostTime begin = HostClock::system()->now();
        parts_ = makePlayerParts(SoundOutput::soundServer);
        parts_.displayLayer->setPresenter(pictures_);
        TrackSelection tracks;
        tracks.audio = source_->audioTracks().at(0);
        tracks.video = source_->videoTracks().at(0);
        makeMediaPlayer(playerEnvironment(parts_), source_, tracks, std::nullopt,
                        dispatch::mainQueue(),
                        [this](std::shared_ptr<MediaPlayer> player) { player_ = player; });
        loop_->runUntil([this] { return player_ != nullptr; }, Clock::time_point::max());
        player_->queue()->sync([this] { player_->play(); });
        print("start", begin);
    }

    void seek(int count) {
        const double end = source_->duration().seconds() - 3;
        for (int i = 1; i <= count; ++i) {
            const HostTime begin = HostClock::system()->now();
            const auto target = CMTime::fromSeconds(end * (i * 7 % count) / count, 1000);
            player_->queue()->sync([&] { player_->seekTo(target); });
            print(fmt::format("seek to {:.2f}", target.seconds()), begin);
        }
    }

  private:
    /// Runs for long enough that a slow device shows.
    void print(const std::string& what, HostTime begin) {
        const auto deadline = Clock::now() + std::chrono::milliseconds(1500);
        loop_->runUntil([] { return false; }, deadline);
        const auto shown = pictures_->shownSince(begin);
        if (shown.size() < 10) {
            fmt::print("| {} | {} pictures |\n", what, shown.size());
            return;
        }
        const auto later = [&](std::size_t i) { return milliseconds(shown[i + 1] - shown[i]); };
        double longest = 0;
        for (std::size_t i = 0; i + 1 < shown.size(); ++i) {
            longest = std::max(longest, later(i));
        }
        fmt::print("| {} | {:.0f} | {:.0f} | {:.0f} | {:.0f} |\n", what,
                   milliseconds(shown[0] - begin), later(0), later(1), longest);
    }

    test::PrivateSoundServer server_;
    std::unique_ptr<inspect::MainLoop> loop_ = inspect::MainLoop::make(false);
    std::shared_ptr<MediaSource> source_;
    std::optional<test::MonitorRecorder> recorder_;
    PlayerParts parts_;
    std::shared_ptr<PictureLog> pictures_ = std::make_shared<PictureLog>();
    std::shared_ptr<MediaPlayer> player_;
};

} // namespace
} // namespace zelvane

int main(int argc, char** argv) {
    if (argc < 4) {
        fmt::print(stderr, "Usage: playing-start FILE SEEKS asleep|awake\n");
        return 2;
    }
    const std::vector<std::string> words(argv + 1, argv + argc);
    zelvane::Session session(words[0], words[2] == "awake");
    session.start();
    session.seek(std::stoi(words[1]));
    return 0;
}
