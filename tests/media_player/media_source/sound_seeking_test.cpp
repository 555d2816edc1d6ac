// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include "media_player/decoders/audio/ffmpeg_audio_decoder.h"
#include "media_player/media_source/input_format_context.h"
#include "media_player/media_source/sound_seeking.h"
#include "tests/support/clips.h"

namespace zelvane::test {
namespace {

struct Clip {
    const char* name;
    const char* sound;
    const char* coding;
};

constexpr Clip kClips[] = {
    {"sound-at-the-end.mkv", "-itsoffset 38 -f lavfi -i sine=d=1", "rawvideo -c:a flac"},
    {"sound-at-the-begin.mkv", "-f lavfi -i sine=d=1", "rawvideo -c:a flac"},
    {"sound-at-the-end.ts", "-itsoffset 38 -f lavfi -i sine=d=1", "mpeg2video -q:v 1 -c:a mp2"},
    {"sound-at-the-begin.ts", "-f lavfi -i sine=d=1", "mpeg2video -q:v 1 -c:a mp2"},
};

/// Seeking again and again for sound that is not there would read the rest of the file each time.
TEST(SoundSeeking, readsAFileHardlyMoreThanOnce) {
    for (const auto& [name, sound, coding] : kClips) {
        const auto path = madeClip(
            name, std::string("-f lavfi -i testsrc2=s=96x80:r=25:d=40,noise=alls=100:allf=t ") +
                      sound + " -map 0 -map 1 -c:v " + coding);
        const auto input = makeInputFormatContext(URL::fromPath(path));
        const AVStream& stream = *input->streams[1];
        const auto track =
            std::make_shared<AudioTrack>("", stream, std::make_unique<FFmpegAudioDecoder>(stream));
        seekToStart(*input);
        const CMTime start = CMTime(input->start_time, AV_TIME_BASE);
        for (const int seconds : {3, 20}) {
            const auto before = input->pb->bytes_read;
            seekSound(*input, track, start, start + CMTime(seconds, 1));
            EXPECT_LT(static_cast<double>(input->pb->bytes_read - before),
                      1.2 * static_cast<double>(std::filesystem::file_size(path)))
                << name << ", " << seconds << " s";
        }
    }
}

} // namespace
} // namespace zelvane::test
