// SPDX-License-Identifier: GPL-3.0-or-later
//
// A player without window and sound for benchmarks. It performs the commands on its standard input
// and answers each with a line of JSON when the picture has reached the surface: the time that the
// user waits for.
//
//   open FILE           opens a paused player at the start  {"ms"}
//   seek SECONDS        seeks exactly                       {"ms", "completedMs"}
//   back                steps one frame back                {"ms", "completedMs"}
//   drag MS SECONDS...  seeks to a target every MS          {"shown", "seconds"}: the number of
//   targets
//                                                           that showed another picture
//   close               closes the player                   {}
//   usage                                                   {"cpuSeconds", "peakMemory"}

#include <atomic>
#include <iostream>
#include <sstream>

#include <nlohmann/json.hpp>

#include "core_media/ffmpeg_log.h"
#include "foundation/heap.h"
#include "foundation/notification_center.h"
#include "main_loop.h"
#include "media_player/media_source/media_source.h"
#include "media_player/playback/media_player.h"
#include "player_assembly/player_assembly.h"
#include "process_usage.h"

namespace zelvane {
namespace {

using Clock = std::chrono::steady_clock;
using Json = nlohmann::ordered_json;

double millisecondsSince(Clock::time_point begin) {
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

/// Draws nothing, counts the different frames and wakes the main queue for each.
class FrameCounter final : public VideoPresenter {
  public:
    void prepare(const PresentedFrame& /*frame*/) override {}
    void present(const PresentedFrame& frame, ShownHandler shown) override {
        if (frame.pixelBuffer != last_) {
            last_ = frame.pixelBuffer;
            ++count_;
        }
        shown(HostClock::system()->now());
        dispatch::mainQueue()->async([] {});
    }
    void removeImage() override {}
    HostDuration presentationDelay() const override { return HostDuration(0); }

    int count() const { return count_; }

  private:
    /// Kept alive, so that no other frame gets its address.
    CVPixelBufferRef last_;
    std::atomic<int> count_{0};
};

/// One file in one player.
class Session {
  public:
    Session(const std::string& file, inspect::MainLoop& loop)
        : loop_(loop), source_(MediaSource::open(URL::fromPath(file), std::nullopt, true)) {
        parts_.displayLayer->setPresenter(frames_);
        makeMediaPlayer(playerEnvironment(parts_), source_, defaultTracks(*source_), std::nullopt,
                        dispatch::mainQueue(),
                        [this](std::shared_ptr<MediaPlayer> player) { player_ = player; });
        waitUntil([this] { return player_ != nullptr && frames_->count() > 0; });
    }

    Json seek(double seconds) {
        return timed([&] {
            player_->seekTo(CMTime::fromSeconds(seconds, 90000), dispatch::mainQueue(),
                            [this] { ++completions_; });
        });
    }

    /// A step has no completion; the notification serves, since no other seek runs.
    Json stepBack() {
        // Waits for the notification of the last seek, which may follow its completion.
        onQueue([] {});
        const auto observer = NotificationCenter::shared().addObserver(
            std::string(MediaPlayer::kDidSeekNotification), player_.get(), dispatch::mainQueue(),
            [this](const Notification& /*notification*/) { ++completions_; });
        return timed([&] { player_->seekBy(MediaPlayer::Frames{-1}); });
    }

    Json drag(std::chrono::milliseconds interval, const std::vector<double>& targets) {
        onQueue([&] { player_->beginInteractiveSeeking(); });
        const auto begin = Clock::now();
        auto next = begin;
        int shown = 0;
        for (const double target : targets) {
            // A picture that was read ahead may be shown before the seek gives the same one.
            const int before = frames_->count();
            onQueue([&] { player_->seekTo(CMTime::fromSeconds(target, 90000)); });
            next += interval;
            loop_.runUntil([] { return false; }, next);
            shown += frames_->count() > before ? 1 : 0;
        }
        const Json result{{"shown", shown}, {"seconds", millisecondsSince(begin) / 1000}};
        onQueue([&] { player_->endInteractiveSeeking(); });
        seek(targets.back());
        return result;
    }

  private:
    template <class Call>
    void onQueue(Call&& call) {
        player_->queue()->sync(call);
    }

    /// Gives up after 20 s: a seek to the frame that is already shown may draw nothing.
    void waitUntil(const std::function<bool()>& done) {
        loop_.runUntil(done, Clock::now() + std::chrono::seconds(20));
    }

    template <class Call>
    Json timed(Call&& call) {
        const int frames = frames_->count();
        const int completions = completions_;
        const auto begin = Clock::now();
        onQueue(call);
        std::optional<double> completed;
        std::optional<double> shown;
        waitUntil([&] {
            completed =
                !completed && completions_ > completions ? millisecondsSince(begin) : completed;
            shown = !shown && frames_->count() > frames ? millisecondsSince(begin) : shown;
            return completed && (shown || millisecondsSince(begin) > *completed + 500);
        });
        if (!completed || !shown) {
            return {{"ms", nullptr}};
        }
        return {{"ms", std::max(*shown, *completed)}, {"completedMs", *completed}};
    }

    inspect::MainLoop& loop_;
    std::shared_ptr<MediaSource> source_;
    PlayerParts parts_ = makePlayerParts(SoundOutput::none);
    std::shared_ptr<FrameCounter> frames_ = std::make_shared<FrameCounter>();
    std::shared_ptr<MediaPlayer> player_;
    int completions_ = 0;
};

class Bench {
  public:
    Bench() = default;
    ~Bench() { close(); }
    Bench(const Bench&) = delete;
    Bench& operator=(const Bench&) = delete;

    Json answer(const std::string& line) {
        std::istringstream words(line);
        std::string command;
        words >> command;
        if (command == "open") {
            std::string file;
            std::getline(words >> std::ws, file);
            return open(file);
        }
        if (command == "close") {
            close();
            return Json::object();
        }
        if (command == "usage") {
            const auto usage = inspect::ProcessUsage::now();
            return {{"cpuSeconds", usage.cpuSeconds}, {"peakMemory", usage.peakMemory}};
        }
        const std::vector<double> numbers{std::istream_iterator<double>(words), {}};
        if (command == "seek") {
            return session_->seek(numbers.at(0));
        }
        if (command == "back") {
            return session_->stepBack();
        }
        if (command == "drag") {
            return session_->drag(std::chrono::milliseconds(std::lround(numbers.at(0))),
                                  {numbers.begin() + 1, numbers.end()});
        }
        throw std::invalid_argument("no such command: " + line);
    }

  private:
    void close() {
        session_.reset();
        loop_->drain();
    }
    Json open(const std::string& file) {
        const auto begin = Clock::now();
        session_.emplace(file, *loop_);
        return {{"ms", millisecondsSince(begin)}};
    }

    std::unique_ptr<inspect::MainLoop> loop_ = inspect::MainLoop::make(false);
    std::optional<Session> session_;
};

} // namespace
} // namespace zelvane

int main() {
    zelvane::keepHeapSmall();
    zelvane::quietFFmpegLog();
    try {
        zelvane::Bench bench;
        for (std::string line; std::getline(std::cin, line);) {
            std::cout << bench.answer(line).dump() << std::endl;
        }
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
    return 0;
}
