// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include "media_player/media_source/media_source.h"
#include "media_player/playback/media_player.h"
#include "tests/media_player/playback/playback_fakes.h"
#include "tests/support/clips.h"

namespace zelvane::test {
namespace {

/// Two seconds at 25 frames a second, a key frame each second, with reordered frames and sound.
std::filesystem::path film() {
    return madeClip("playback-film.mkv",
                    {"-f", "lavfi", "-i", "testsrc2=size=64x48:rate=25:duration=2", "-f", "lavfi",
                     "-i", "sine=duration=2", "-c:v", "libx264", "-g", "25", "-bf", "2", "-c:a",
                     "flac"});
}

TEST(RealSource, aSeekBringsTheFrameAndTheSoundOfItsTarget) {
    constexpr std::size_t kCapacity = 8;
    constexpr std::int64_t kFrame = 40;
    const MainQueueScope main;
    const auto source = MediaSource::open(URL::fromPath(film()), std::nullopt, true);
    const auto layer = std::make_shared<FakeRenderer>(kCapacity);
    const auto sound = std::make_shared<FakeRenderer>(kCapacity);
    MediaPlayerEnvironment environment;
    environment.makeDisplayLayer = [&] { return ClockedRenderer<VideoRendering>(layer); };
    environment.makeAudioRenderer = [&] { return ClockedRenderer<AudioRendering>(sound); };
    environment.makeRenderSynchronizer = [] { return std::make_shared<FakeSynchronizer>(); };
    std::shared_ptr<MediaPlayer> player;
    makeMediaPlayer(environment, source,
                    selectDefaultTracks(source->videoTracks(), source->audioTracks(),
                                        source->subtitlesTracks(), {}),
                    std::nullopt, dispatch::mainQueue(), [&](const auto& made) { player = made; });
    main.settle();
    ASSERT_NE(player, nullptr);
    for (const std::int64_t target : {0, 40, 990, 1000, 1039, 1500, 1940, 1999, 20}) {
        player->queue()->sync([&] { player->seekTo(ms(target)); });
        main.settle();
        ASSERT_THAT(layer->queued(), testing::Not(testing::IsEmpty())) << target;
        EXPECT_EQ(layer->queued().front(), target / kFrame * kFrame);
        ASSERT_THAT(sound->queued(), testing::Not(testing::IsEmpty())) << target;
        EXPECT_LE(sound->queued().front(), target);
    }
}

} // namespace
} // namespace zelvane::test
