// SPDX-License-Identifier: GPL-3.0-or-later
//
// Plays a clip with a click and a flash each second in a window, records a null sink of a private
// sound server, and prints the distances of clicks and flashes from their times on the clock.
//
//   sound-in-step CLICKS RATE SECONDS      clicks and flashes
//   sound-in-step TONE RATE SECONDS tone   the pitch of a tone

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <mutex>
#include <vector>

#include <fmt/format.h>

#include "main_loop.h"
#include "media_player/media_source/media_source.h"
#include "media_player/playback/media_player.h"
#include "player_assembly/player_assembly.h"
#include "tests/platform/pulse_audio/monitor_recorder.h"
#include "tests/platform/pulse_audio/private_sound_server.h"
#include "tests/support/anchor_log.h"

namespace zelvane {
namespace {

using Clock = std::chrono::steady_clock;

double milliseconds(HostDuration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

/// Forwards frames to the window and records when a bright frame after a dark one was shown.
class FlashLog final : public VideoPresenter {
  public:
    explicit FlashLog(std::shared_ptr<VideoPresenter> surface) : surface_(std::move(surface)) {}

    void prepare(const PresentedFrame& frame) override { surface_->prepare(frame); }
    void present(const PresentedFrame& frame, ShownHandler shown) override {
        const bool isBright = brightness(*frame.pixelBuffer) > 128;
        const bool begins = isBright && !wasBright_;
        wasBright_ = isBright;
        surface_->present(frame, [this, begins, shown = std::move(shown)](HostTime shownAt) {
            if (begins) {
                const std::lock_guard lock(mutex_);
                flashes_.push_back(shownAt);
            }
            shown(shownAt);
        });
    }
    void removeImage() override { surface_->removeImage(); }
    HostDuration presentationDelay() const override { return surface_->presentationDelay(); }

    std::vector<HostTime> flashes() const {
        const std::lock_guard lock(mutex_);
        return flashes_;
    }

  private:
    static int brightness(const CVPixelBuffer& buffer) {
        const auto& luma = buffer.plane(0);
        return luma.baseAddress[luma.bytesPerRow * static_cast<std::size_t>(luma.height / 2) +
                                static_cast<std::size_t>(luma.width / 2)];
    }

    std::shared_ptr<VideoPresenter> surface_;
    bool wasBright_ = false;
    mutable std::mutex mutex_;
    std::vector<HostTime> flashes_;
};

/// The distance, in milliseconds, of the event nearest to `due`; none within 300 ms.
std::optional<double> distance(const std::vector<HostTime>& events, HostTime due) {
    std::optional<double> nearest;
    for (const HostTime event : events) {
        const double late = milliseconds(event - due);
        if (std::abs(late) < 300 && (!nearest || std::abs(late) < std::abs(*nearest))) {
            nearest = late;
        }
    }
    return nearest;
}

struct Worst {
    double all = 0;
    double firstFive = 0;
    double lastFive = 0;
    int missing = 0;
    int found = 0;
};

Worst worstOf(const std::vector<std::optional<double>>& distances) {
    Worst worst;
    for (std::size_t i = 0; i < distances.size(); ++i) {
        if (!distances[i]) {
            ++worst.missing;
            continue;
        }
        ++worst.found;
        const double error = std::abs(*distances[i]);
        worst.all = std::max(worst.all, error);
        worst.firstFive = i < 5 ? std::max(worst.firstFive, error) : worst.firstFive;
        worst.lastFive =
            i + 5 >= distances.size() ? std::max(worst.lastFive, error) : worst.lastFive;
    }
    return worst;
}

class Session {
  public:
    Session(const std::string& file, float rate)
        : rate_(rate), source_(MediaSource::open(URL::fromPath(file), std::nullopt, true)) {
        setenv("PULSE_SERVER", server_.address().c_str(), 1); // NOLINT(concurrency-mt-unsafe)
        recorder_.emplace(server_.address(), "n1");
        parts_ = makePlayerParts(SoundOutput::soundServer);
        parts_.renderSynchronizer->addRenderer(anchors_);
    }
    ~Session() {
        player_ = nullptr;
        loop_->drain();
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    void play(double seconds) {
        TrackSelection tracks;
        tracks.audio = source_->audioTracks().at(0);
        tracks.video = source_->videoTracks().empty() ? nullptr : source_->videoTracks()[0];
        makeMediaPlayer(playerEnvironment(parts_), source_, tracks, std::nullopt,
                        dispatch::mainQueue(),
                        [this](std::shared_ptr<MediaPlayer> player) { player_ = player; });
        loop_->runUntil([this] { return player_ != nullptr; }, Clock::time_point::max());
        if (tracks.video) {
            flashes_ = std::make_shared<FlashLog>(
                loop_->openWindow(tracks.video->dimensions().effectiveSize));
            parts_.displayLayer->setPresenter(flashes_);
        }
        player_->queue()->sync([this] {
            player_->setDesiredPlaybackRate(rate_);
            player_->play();
        });
        // The recorder starts before the sound and must record its end.
        const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                                 std::chrono::duration<double>(seconds + 2.5));
        loop_->runUntil([] { return false; }, deadline);
        end_ = player_->currentTime();
        player_->queue()->sync([this] { player_->pause(); });
    }

    void printSteps() const {
        const auto clicks = recorder_->recording().clicks(0.1F);
        const auto flashes = flashes_ ? flashes_->flashes() : std::vector<HostTime>();
        std::vector<std::optional<double>> sound;
        std::vector<std::optional<double>> picture;
        std::vector<std::optional<double>> between;
        // The last sound may not have been recorded yet.
        const int last = static_cast<int>(end_.seconds() - 0.5);
        for (int second = 1; second <= last; ++second) {
            const auto due = anchors_->dueTime(source_->startTime() + CMTime(second, 1));
            if (!due) {
                continue;
            }
            sound.push_back(distance(clicks, *due));
            picture.push_back(distance(flashes, *due));
            const bool hasBoth = sound.back() && picture.back();
            between.push_back(hasBoth ? std::optional(*sound.back() - *picture.back())
                                      : std::nullopt);
        }
        const auto statistics = parts_.audioRenderer->statistics();
        for (const auto& [name, distances] :
             {std::pair{"click from its time", &sound}, std::pair{"flash from its time", &picture},
              std::pair{"click from its flash", &between}}) {
            const Worst worst = worstOf(*distances);
            fmt::print("| {} | {} | {} | {} | {:.2f} | {:.2f} | {:.2f} |\n", rate_, name,
                       worst.found, worst.missing, worst.firstFive, worst.lastFive, worst.all);
        }
        fmt::print(stderr, "clock error: mean {:.3f} ms, max {:.3f} ms; underruns {}\n",
                   statistics.meanClockError * 1e3, statistics.maxClockError * 1e3,
                   statistics.underruns);
    }

    void printPitch() const {
        const double pitch = recorder_->recording().pitch();
        fmt::print("| {} | {:.2f} Hz | {:+.3f} % |\n", rate_, pitch, (pitch / 440 - 1) * 100);
    }

  private:
    const float rate_;
    test::PrivateSoundServer server_;
    std::unique_ptr<inspect::MainLoop> loop_ = inspect::MainLoop::make(true);
    std::shared_ptr<MediaSource> source_;
    std::optional<test::MonitorRecorder> recorder_;
    std::shared_ptr<test::AnchorLog> anchors_ = std::make_shared<test::AnchorLog>();
    PlayerParts parts_;
    std::shared_ptr<FlashLog> flashes_;
    std::shared_ptr<MediaPlayer> player_;
    CMTime end_;
};

} // namespace
} // namespace zelvane

int main(int argc, char** argv) {
    if (argc < 4) {
        fmt::print(stderr, "Usage: sound-in-step FILE RATE SECONDS [tone]\n");
        return 2;
    }
    const std::vector<std::string> words(argv + 1, argv + argc);
    zelvane::Session session(words[0], std::stof(words[1]));
    session.play(std::stod(words[2]));
    if (words.size() > 3) {
        session.printPitch();
    } else {
        session.printSteps();
    }
    return 0;
}
