// SPDX-License-Identifier: GPL-3.0-or-later
//
// Files that change, and disks that fail, during playback.

#include <atomic>
#include <fstream>

#include <gmock/gmock.h>

#include "media_player/media_source/media_source.h"
#include "media_player/playback/media_player.h"
#include "tests/media_player/playback/playback_fakes.h"
#include "tests/support/case_name.h"
#include "tests/support/clips.h"
#include "tests/support/log_capture.h"

namespace zelvane::test {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::Ne;

fs::path film(const std::string& container) {
    return madeClip("failing." + container,
                    {"-f", "lavfi", "-i", "testsrc2=size=160x120:rate=25:duration=4", "-f", "lavfi",
                     "-i", "sine=duration=4", "-c:v", "libx264", "-g", "25", "-bf", "2", "-c:a",
                     "libmp3lame"});
}

/// Writes into the same file, which demuxers hold open.
void overwrite(const fs::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

/// Returns errors in place of the file's bytes, on demand, to the demuxers that it was installed
/// in.
class FailingDisk {
  public:
    static void takeOver(const InputFormatContext& context) {
        realRead = context->pb->read_packet;
        context->pb->read_packet = read;
    }
    /// Fails each `period`th read from now on: 1 for all of them, 0 for none.
    static void failEach(int period) {
        failurePeriod = period;
        readCount = 0;
        failureCount = 0;
    }
    /// Since the last change.
    static int failures() { return failureCount; }

  private:
    static int read(void* file, std::uint8_t* buffer, int size) {
        const int period = failurePeriod;
        if (period != 0 && ++readCount % period == 0) {
            ++failureCount;
            return AVERROR(EIO);
        }
        return realRead(file, buffer, size);
    }

    // The library's callbacks have no other argument.
    static inline int (*realRead)(void*, std::uint8_t*, int) = nullptr;
    static inline std::atomic<int> failurePeriod{0};
    static inline std::atomic<int> readCount{0};
    static inline std::atomic<int> failureCount{0};
};

/// A player of a source whose renderers take few buffers, so that most of the file is unread.
class SmallPlayer {
  public:
    explicit SmallPlayer(const std::shared_ptr<MediaSource>& source) {
        makeMediaPlayer({layer_, sound_, std::make_shared<FakeSynchronizer>()}, source,
                        selectDefaultTracks(source->videoTracks(), source->audioTracks(),
                                            source->subtitlesTracks(), {}),
                        std::nullopt, dispatch::mainQueue(),
                        [this](const auto& made) { player_ = made; });
        main_.settle();
    }

    /// The first frame after a seek, in milliseconds; none if there is none.
    std::optional<std::int64_t> soughtFrame(std::int64_t target) {
        player_->queue()->sync([&] { player_->seekTo(ms(target)); });
        main_.settle();
        const auto queued = layer_->queued();
        return queued.empty() ? std::nullopt : std::optional(queued.front());
    }
    /// The first frames after seeks to several targets.
    std::vector<std::optional<std::int64_t>> seekAround() {
        std::vector<std::optional<std::int64_t>> frames;
        for (const std::int64_t target : {3100, 20, 2000, 1500, 3960}) {
            frames.push_back(soughtFrame(target));
        }
        return frames;
    }

  private:
    static constexpr std::size_t kCapacity = 4;
    std::shared_ptr<FakeRenderer> layer_ = std::make_shared<FakeRenderer>(kCapacity);
    std::shared_ptr<FakeRenderer> sound_ = std::make_shared<FakeRenderer>(kCapacity);
    MainQueueScope main_;
    std::shared_ptr<MediaPlayer> player_;
};

std::shared_ptr<MediaSource> open(const fs::path& path) {
    return MediaSource::open(URL::fromPath(path), std::nullopt, true);
}

class FailingFile : public testing::TestWithParam<const char*> {};

TEST_P(FailingFile, aFileThatChangesDuringPlaybackLosesOnlyFrames) {
    const std::string whole = bytesOf(film(GetParam()));
    const std::string other = bytesOf(film(GetParam() == std::string("mp4") ? "mkv" : "mp4"));
    std::string scrambled = whole;
    for (std::size_t i = 0; i < scrambled.size(); i += 7) {
        scrambled[i] = static_cast<char>(scrambled[i] * 31 + static_cast<char>(i));
    }
    const TemporaryFolder folder;
    const LogCapture log;
    struct Change {
        std::string name;
        std::string bytes;
        /// No data read meanwhile can be mistaken for the film.
        bool isForgotten;
    };
    for (const Change& change : {
             Change{"half", whole.substr(0, whole.size() / 2), true},
             Change{"nothing", "", true},
             Change{"zeros", std::string(whole.size(), '\0'), false},
             Change{"scrambled", scrambled, false},
             Change{"another film", other, false},
             Change{"twice", whole + whole, false},
         }) {
        SCOPED_TRACE(change.name);
        const auto path = folder.path() / (change.name + "." + GetParam());
        overwrite(path, whole);
        SmallPlayer player(open(path));
        const auto frames = player.seekAround();
        EXPECT_THAT(frames, Contains(Ne(std::nullopt)));
        overwrite(path, change.bytes);
        player.seekAround();
        overwrite(path, whole);
        // Uses up what was read before the change.
        player.seekAround();
        const auto framesAfterwards = player.seekAround();
        if (change.isForgotten) {
            EXPECT_EQ(framesAfterwards, frames);
        }
    }
}

TEST_P(FailingFile, readErrorsEndTheStreamUntilTheNextSeek) {
    const LogCapture log;
    for (const int period : {1, 2, 3, 7}) {
        SCOPED_TRACE(period);
        const URL url = URL::fromPath(film(GetParam()));
        auto contexts = makeInputFormatContexts(url);
        FailingDisk::takeOver(contexts.visual);
        FailingDisk::takeOver(contexts.audio);
        SmallPlayer player(MediaSource::open(url, std::move(contexts), std::nullopt, true));
        const auto frames = player.seekAround();
        EXPECT_THAT(frames, Contains(Ne(std::nullopt)));
        FailingDisk::failEach(period);
        player.seekAround();
        EXPECT_GT(FailingDisk::failures(), 0);
        FailingDisk::failEach(0);
        EXPECT_EQ(player.seekAround(), frames);
    }
}

TEST_P(FailingFile, readErrorsDuringLoadingAreReported) {
    const LogCapture log;
    const URL url = URL::fromPath(film(GetParam()));
    auto contexts = makeInputFormatContexts(url);
    FailingDisk::takeOver(contexts.visual);
    FailingDisk::takeOver(contexts.audio);
    FailingDisk::failEach(1);
    try {
        const auto source = MediaSource::open(url, std::move(contexts), std::nullopt, true);
        SmallPlayer player(source);
        player.seekAround();
    } catch (const MediaSource::LoadError& error) {
        EXPECT_EQ(error.errorCase(), MediaSource::LoadError::Case::failedToSeek);
    }
    FailingDisk::failEach(0);
}

INSTANTIATE_TEST_SUITE_P(Containers, FailingFile, testing::Values("mp4", "mkv", "ts", "avi"),
                         caseName);

} // namespace
} // namespace zelvane::test
