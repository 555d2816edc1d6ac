// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/player/restorable_playback.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "tests/player_window/tracks_test_support.h"

namespace zelvane {
namespace {

const SourceTracks& source() {
    static const SourceTracks tracks{
        {test::videoTrack("v0"), test::videoTrack("v1")},
        {test::audioTrack("a0"), test::audioTrack("a1")},
        {test::subtitlesTrack("s0"), test::subtitlesTrack("s1"), test::subtitlesTrack("s2")}};
    return tracks;
}

/// "v0 a1 s0 s2"; "-" for no track.
std::string asText(const SelectedTracks& tracks) {
    const auto id = [](const auto& track) { return track ? track->id() : "-"; };
    return id(tracks.video) + " " + id(tracks.audio) + " " + id(tracks.primarySubtitles) + " " +
           id(tracks.secondarySubtitles);
}

TEST(RestorablePlayback, looksTracksUpByTheirIdentifiers) {
    const SelectedTracks present{source().video[0], source().audio[0], source().subtitles[0],
                                 source().subtitles[1]};
    const struct {
        /// Empty for an absent key.
        const char *video, *audio, *primary, *secondary;
        const char* restored;
    } cases[] = {
        {"v1", "a1", "s1", "s2", "v1 a1 s1 s2"}, {"", "", "", "", "v0 - - -"},
        {"v9", "a9", "s9", "s9", "v0 - - -"},    {"a1", "v1", "a0", "", "v0 - - -"},
        {"v0", "a0", "", "s2", "v0 a0 s2 -"},    {"v0", "a0", "s9", "s1", "v0 a0 s1 -"},
        {"v0", "a0", "s1", "s1", "v0 a0 s1 -"},  {"v0", "a0", "s1", "s0", "v0 a0 s1 s0"},
        {"v0", "a0", "s2", "", "v0 a0 s2 -"},
    };
    for (const auto& given : cases) {
        StateCoder coder;
        const auto encode = [&](const std::string& what, const std::string& id) {
            if (!id.empty()) {
                coder.encodeString("zelvane.MediaPlayer.selected" + what + "Track.id", id);
            }
        };
        encode("Video", given.video);
        encode("Audio", given.audio);
        encode("PrimarySubtitles", given.primary);
        encode("SecondarySubtitles", given.secondary);
        EXPECT_EQ(asText(decodePlayback(coder, source(), present).tracks), given.restored);
    }
}

TEST(RestorablePlayback, readsWhatItWroteAndWritesNoAbsentTrack) {
    const SelectedTracks tracks{source().video[1], nullptr, source().subtitles[2], nullptr};
    StateCoder coder;
    encodePlayback({tracks, CMTime(90'001, 30'000), 1.3F}, coder);
    EXPECT_EQ(coder.data(),
              R"({"zelvane.MediaPlayer.currentTime":{"timescale":30000,"value":90001},)"
              R"("zelvane.MediaPlayer.desiredPlaybackRate":1.2999999523162842,)"
              R"("zelvane.MediaPlayer.selectedPrimarySubtitlesTrack.id":"s2",)"
              R"("zelvane.MediaPlayer.selectedVideoTrack.id":"v1"})");
    const auto restored = decodePlayback(coder, source(), {});
    EXPECT_EQ(restored.tracks, tracks);
    EXPECT_EQ(restored.currentTime, CMTime(90'001, 30'000));
    EXPECT_EQ(restored.desiredPlaybackRate, 1.3F);
}

TEST(RestorablePlayback, dropsTimesAndRatesThatCannotBePlayed) {
    for (const CMTime& time : {kCMTimeInvalid, kCMTimeIndefinite, kCMTimePositiveInfinity}) {
        StateCoder coder;
        coder.encodeTime("zelvane.MediaPlayer.currentTime", time);
        EXPECT_FALSE(decodePlayback(coder, source(), {}).currentTime) << time.description();
    }
    for (const float rate : {0.0F, -1.0F, 0.4F, 2.1F, NAN, INFINITY}) {
        StateCoder coder;
        coder.encodeFloat("zelvane.MediaPlayer.desiredPlaybackRate", rate);
        EXPECT_FALSE(decodePlayback(coder, source(), {}).desiredPlaybackRate) << rate;
    }
}

} // namespace
} // namespace zelvane
