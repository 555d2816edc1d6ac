// SPDX-License-Identifier: GPL-3.0-or-later
//
// The sound of a seek must be the sound of a straight decode, sample by sample.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <future>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "media_player/media_source/media_source.h"
#include "media_player/playback/audio_data_provider.h"
#include "tests/media_player/playback/playback_fakes.h"
#include "tests/support/case_name.h"
#include "tests/support/clips.h"

namespace zelvane::test {
namespace {

/// One channel of sound from a time on.
struct Sound {
    CMTime begin = kCMTimeInvalid;
    double rate = 0;
    std::vector<float> samples;

    /// The sample heard at a time, to the nearest.
    std::int64_t place(const CMTime& time) const {
        return std::llround((time - begin).seconds() * rate);
    }
};

float sampleAt(const std::uint8_t* bytes, const AudioStreamBasicDescription& format) {
    if ((format.mFormatFlags & kAudioFormatFlagIsFloat) != 0) {
        float value = 0;
        std::memcpy(&value, bytes, sizeof value);
        return value;
    }
    if (format.mBitsPerChannel == 16) {
        std::int16_t value = 0;
        std::memcpy(&value, bytes, sizeof value);
        return static_cast<float>(value) / 32768.0F;
    }
    std::int32_t value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return static_cast<float>(static_cast<double>(value) / 2147483648.0);
}

void append(Sound& sound, const CMSampleBuffer& buffer) {
    const auto& format = buffer.formatDescription()->audio()->streamDescription;
    if (sound.samples.empty()) {
        sound.begin = buffer.presentationTimeStamp();
        sound.rate = format.mSampleRate;
    }
    for (std::size_t i = 0; i < buffer.dataBuffer()->blockCount(); ++i) {
        const auto block = buffer.dataBuffer()->block(i);
        for (std::size_t at = 0; at + format.mBytesPerFrame <= block.size();
             at += format.mBytesPerFrame) {
            sound.samples.push_back(sampleAt(block.data() + at, format));
        }
    }
}

Sound decodedStraight(MediaSource& source, const std::shared_ptr<AudioTrack>& track) {
    Sound sound;
    CoreMediaCompatibleDecodeSession session(
        track->decoder(), [&](const CMSampleBufferRef& buffer) { append(sound, *buffer); });
    while (const auto packet =
               source.audioTracksQueue()->sync([&] { return source.readAudioPacket(track); })) {
        session.decode(packet);
    }
    session.finish();
    return sound;
}

struct SoundClip {
    const char* name;
    const char* arguments;
    /// How much of the sound two decodes of the same packets may differ by: 60 dB below it, which
    /// is what rounding leaves, but where a decoder fills in noise.
    double tolerance = 1e-6;
    /// Seconds at the end that are not looked at.
    double end = 0.1;
};

/// A place that is off by more than a sample leaves twice the sound.
constexpr double kNoiseFilled = 0.4;

void PrintTo(const SoundClip& clip, std::ostream* stream) {
    *stream << clip.name;
}

std::filesystem::path made(const SoundClip& clip) {
    return madeClip(clip.name,
                    std::string("-f lavfi -i testsrc2=s=64x48:r=25:d=8 ") + clip.arguments);
}

class ExactSound : public testing::TestWithParam<SoundClip> {};

/// The mean square of what is left when the two are laid on each other, as a part of the sound.
double difference(const Sound& left, std::int64_t leftPlace, const Sound& right,
                  std::int64_t rightPlace, std::int64_t count) {
    double rest = 0;
    double power = 0;
    for (std::int64_t i = 0; i < count; ++i) {
        const double a = left.samples.at(static_cast<std::size_t>(leftPlace + i));
        const double b = right.samples.at(static_cast<std::size_t>(rightPlace + i));
        rest += (a - b) * (a - b);
        power += a * a;
    }
    return rest / power;
}

TEST_P(ExactSound, afterASeekIsThatOfAStraightDecode) {
    constexpr std::int64_t kCompared = 2000;
    constexpr int kTargets = 25;
    const MainQueueScope main;
    const auto source = MediaSource::open(URL::fromPath(made(GetParam())), std::nullopt, true);
    const auto track = source->audioTracks().at(0);
    const Sound straight = decodedStraight(*source, track);
    const auto renderer = std::make_shared<FakeRenderer>(2);
    const auto provider = std::make_shared<AudioDataProvider>(source, renderer);
    provider->perform(true, [&] { provider->setAudioTrack(track); });
    main.settle();
    std::mt19937 random(3);
    const double last =
        static_cast<double>(straight.samples.size()) / straight.rate - GetParam().end;
    for (int i = 0; i < kTargets; ++i) {
        const double seconds = std::uniform_real_distribution(0.1, last)(random);
        const CMTime target = straight.begin + CMTime::fromSeconds(seconds, 1'000'000);
        std::promise<void> done;
        provider->perform(true, [&] {
            provider->seek(target, dispatch::mainQueue(), [&] { done.set_value(); });
        });
        main.settle();
        const auto buffer = renderer->first();
        ASSERT_NE(buffer, nullptr) << seconds;
        Sound found;
        append(found, *buffer);
        ASSERT_LE(found.begin, target);
        const std::int64_t place = found.place(target);
        const std::int64_t count =
            std::min(kCompared, static_cast<std::int64_t>(found.samples.size()) - place);
        ASSERT_GT(count, 0);
        double best = std::numeric_limits<double>::infinity();
        for (const int shift : {0, -1, 1}) {
            best = std::min(
                best, difference(straight, straight.place(target) + shift, found, place, count));
        }
        EXPECT_LT(best, GetParam().tolerance) << "at " << seconds << " s";
    }
}

#define NOISE48                                                                                    \
    "-f lavfi -i anoisesrc=d=8:a=0.3:r=48000:seed=7 -c:v libx264 -preset ultrafast -g 75 "
#define NOISE44                                                                                    \
    "-f lavfi -i anoisesrc=d=8:a=0.3:r=44100:seed=7 -c:v libx264 -preset ultrafast -g 75 "

const SoundClip kSoundClips[] = {
    {"sound-aac.mp4", NOISE44 "-c:a aac -aac_pns 0"},
    {"sound-aac.mkv", NOISE48 "-c:a aac -aac_pns 0"},
    {"sound-aac.ts", NOISE48 "-c:a aac -aac_pns 0"},
    {"sound-aac.flv", NOISE44 "-c:a aac -aac_pns 0"},
    {"sound-mp3.mkv", NOISE44 "-c:a libmp3lame -b:a 64k"},
    {"sound-mp3.avi", NOISE44 "-c:a libmp3lame -b:a 64k"},
    {"sound-mp3.mp3", NOISE44 "-map 1 -c:a libmp3lame -b:a 64k"},
    {"sound-ac3.mkv", NOISE48 "-c:a ac3", kNoiseFilled},
    {"sound-ac3.ts", NOISE48 "-c:a ac3", kNoiseFilled},
    {"sound-eac3.mp4", NOISE48 "-c:a eac3", kNoiseFilled},
    {"sound-mp2.mpg", NOISE48 "-c:v mpeg2video -c:a mp2"},
    {"sound-opus.mkv", NOISE48 "-c:a libopus"},
    {"sound-opus.ogg", NOISE48 "-map 1 -c:a libopus"},
    // The last page of an Ogg stream is stamped by its end, which is cut.
    {"sound-vorbis.ogg", NOISE44 "-map 1 -c:a libvorbis", 1e-6, 1.5},
    {"sound-flac.mkv", NOISE44 "-c:a flac"},
    {"sound-flac.flac", NOISE44 "-map 1 -c:a flac"},
    {"sound-alac.m4a", NOISE44 "-map 1 -c:a alac"},
    {"sound-pcm.wav", NOISE44 "-map 1"},
    {"sound-pcm.mkv", NOISE44 "-c:a pcm_s16le"},
    {"sound-pcm.mov", NOISE44 "-c:a pcm_s24le"},
    {"sound-wma.wmv", NOISE44 "-c:v wmv2 -c:a wmav2"},
    {"sound-dts.mkv", NOISE48 "-c:a dca -strict -2"},
    {"sound-truehd.mkv", NOISE48 "-c:a truehd -strict -2"},
    {"sound-wavpack.wv", NOISE44 "-map 1 -c:a wavpack"},
    {"sound-tta.tta", NOISE44 "-map 1 -c:a tta"},
};

INSTANTIATE_TEST_SUITE_P(clips, ExactSound, testing::ValuesIn(kSoundClips), caseName);

} // namespace
} // namespace zelvane::test
