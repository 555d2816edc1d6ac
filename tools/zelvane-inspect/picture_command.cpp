// SPDX-License-Identifier: GPL-3.0-or-later
#include "commands.h"

#ifdef ZELVANE_DESKTOP

#include <algorithm>
#include <charconv>
#include <optional>

#include <fmt/format.h>

#include <QImage>
#include <QPixmap>
#include <QSize>

#include "json_text.h"
#include "main_loop.h"
#include "media_player/playback/media_player.h"
#include "opened_media.h"
#include "player_assembly/player_assembly.h"
#include "player_window/picture_view.h"
#include "side_file.h"
#include "subtitles_view/subtitles_view.h"

namespace zelvane::inspect {
namespace {

struct PictureOptions {
    double seconds = 0;
    QSize size;
    std::string out;
    std::optional<double> primary;
    std::optional<double> secondary;
    std::vector<std::string> sideFiles;
};

QSize sizeFromText(const std::string& text) {
    constexpr int kLargest = 16384;
    const auto cross = text.find('x');
    const auto side = [](std::string_view digits) {
        int value = 0;
        const auto [end, failure] =
            std::from_chars(digits.data(), digits.data() + digits.size(), value);
        const bool isWhole = failure == std::errc() && end == digits.data() + digits.size();
        return isWhole && value > 0 && value <= kLargest ? value : 0;
    };
    const QSize size = cross == std::string::npos
                           ? QSize()
                           : QSize(side(text.substr(0, cross)), side(text.substr(cross + 1)));
    if (size.isEmpty()) {
        throw UsageError("not a size: --size " + text);
    }
    return size;
}

PictureOptions pictureOptions(const Arguments& arguments) {
    arguments.allow({"at", "size", "primary", "secondary", "external", "out"});
    const auto seconds = arguments.number("at");
    const auto size = arguments.text("size");
    const auto out = arguments.text("out");
    if (!seconds || !size || !out) {
        throw UsageError("picture needs --at, --size and -o");
    }
    return {*seconds,
            sizeFromText(*size),
            *out,
            arguments.number("primary"),
            arguments.number("secondary"),
            arguments.texts("external")};
}

/// The index after the last stream of the file.
std::uint32_t firstFreeIndex(const MediaSource& source) {
    std::uint32_t next = 0;
    const auto count = [&](const auto& tracks) {
        for (const auto& track : tracks) {
            next = std::max(next, track->streamIndex() + 1);
        }
    };
    count(source.videoTracks());
    count(source.audioTracks());
    count(source.embeddedSubtitlesTracks());
    return next;
}

std::shared_ptr<SubtitlesTrack> subtitlesTrack(const MediaSource& source,
                                               const ExternalSubtitlesTracks& external,
                                               std::optional<double> index) {
    if (!index) {
        return nullptr;
    }
    for (const auto& track : source.embeddedSubtitlesTracks()) {
        if (track->streamIndex() == *index) {
            return track;
        }
    }
    std::uint32_t next = firstFreeIndex(source);
    for (const auto& track : external) {
        if (next++ == *index) {
            return track;
        }
    }
    throw CommandError(fmt::format("stream {} is not a track of type subtitles", *index));
}

/// Draws in memory on the CPU, without a screen, so that every machine draws the same picture.
std::unique_ptr<MainLoop> makeOffscreenLoop() {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qunsetenv("DISPLAY");
    qunsetenv("ZELVANE_ALLOW_SOFTWARE_GL");
    return MainLoop::make(true);
}

/// The display layer draws the due frame on request instead of waiting for its time: the clock is
/// paused.
PlayerParts makePausedParts() {
    PlayerParts parts = makePlayerParts(SoundOutput::none);
    parts.displayLayer = std::make_shared<SampleBufferDisplayLayer>(
        HostClock::system(), SampleBufferDisplayLayer::Drive::byHand);
    return parts;
}

/// A paused player and the picture view of its window.
class PicturePlayer {
  public:
    explicit PicturePlayer(const std::string& file)
        : loop_(makeOffscreenLoop()), source_(openMedia(file)), parts_(makePausedParts()),
          pictureView_(std::make_unique<PictureView>(nullptr)) {
        const auto video = defaultTracks(*source_).video;
        if (!video) {
            throw CommandError("the file has no video track");
        }
        auto environment = playerEnvironment(parts_);
        environment.primarySubtitlesRenderer = subtitlesViews_.primary;
        environment.secondarySubtitlesRenderer = subtitlesViews_.secondary;
        TrackSelection tracks;
        tracks.video = video;
        makeMediaPlayer(environment, source_, tracks, std::nullopt, dispatch::mainQueue(),
                        [this](const std::shared_ptr<MediaPlayer>& made) { player_ = made; });
        runUntil([this] { return player_ != nullptr; });
        parts_.displayLayer->setPresenter(pictureView_->presenter());
        pictureView_->addSubtitles(subtitlesViews_.primary, subtitlesViews_.secondary);
    }
    ~PicturePlayer() {
        pictureView_ = nullptr;
        player_ = nullptr;
        loop_->drain();
    }
    PicturePlayer(const PicturePlayer&) = delete;
    PicturePlayer& operator=(const PicturePlayer&) = delete;

    void selectSubtitles(const PictureOptions& options) {
        for (const auto& side : options.sideFiles) {
            const auto added = attachSideFile(source_, side);
            external_.insert(external_.end(), added.begin(), added.end());
        }
        for (const auto& [position, index] :
             {std::pair(SubtitlesPosition::primary, options.primary),
              std::pair(SubtitlesPosition::secondary, options.secondary)}) {
            player_->setSelectedSubtitlesTrack(position,
                                               subtitlesTrack(*source_, external_, index));
        }
    }

    QImage pictureAt(double seconds, QSize size) {
        pictureView_->resize(size);
        pictureView_->show();
        seek(seconds);
        settle();
        return pictureView_->grab().toImage();
    }

    const SubtitlesViews& subtitlesViews() const { return subtitlesViews_; }

  private:
    void seek(double seconds) {
        bool isThere = false;
        player_->seekSynchronouslyTo(targetFromSeconds(seconds), dispatch::mainQueue(),
                                     [&] { isThere = true; });
        runUntil([&] { return isThere; });
    }
    /// Shows everything that is due. Subtitles that begin with the picture are read after it.
    void settle() {
        constexpr int kRounds = 3;
        for (int i = 0; i < kRounds; ++i) {
            parts_.displayLayer->service();
            loop_->drain();
            waitForMainQueue();
        }
    }
    void waitForMainQueue() {
        bool hasPassed = false;
        dispatch::mainQueue()->async([&] { hasPassed = true; });
        runUntil([&] { return hasPassed; });
    }
    void runUntil(const std::function<bool()>& done) {
        loop_->runUntil(done, MainLoop::Deadline::max());
    }

    std::unique_ptr<MainLoop> loop_;
    std::shared_ptr<MediaSource> source_;
    PlayerParts parts_;
    SubtitlesViews subtitlesViews_ = makeSubtitlesViews(parts_.renderSynchronizer);
    std::unique_ptr<PictureView> pictureView_;
    std::shared_ptr<MediaPlayer> player_;
    ExternalSubtitlesTracks external_;
};

} // namespace

int runPicture(const Arguments& arguments) {
    const PictureOptions options = pictureOptions(arguments);
    PicturePlayer player(arguments.file());
    player.selectSubtitles(options);
    const QImage picture = player.pictureAt(options.seconds, options.size);
    if (!picture.save(QString::fromStdString(options.out), "PNG")) {
        throw CommandError("cannot write " + options.out);
    }
    printLine({{"picture", options.out},
               {"width", picture.width()},
               {"height", picture.height()},
               {"subtitles",
                {{"primary", player.subtitlesViews().primary->subtitleViews().size()},
                 {"secondary", player.subtitlesViews().secondary->subtitleViews().size()}}}});
    return 0;
}

} // namespace zelvane::inspect

#else

namespace zelvane::inspect {

int runPicture(const Arguments& /*arguments*/) {
    throw CommandError("this build has no windows");
}

} // namespace zelvane::inspect

#endif
