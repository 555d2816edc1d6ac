// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include "rendering/audio_render_chain.h"
#include "rendering/fallback_audio_output.h"
#include "rendering/linear_clock_estimate.h"
#include "rendering/null_audio_output.h"
#include "tests/rendering/rendering_fakes.h"
#include "tests/support/case_name.h"
#include "tests/support/log_capture.h"

namespace zelvane {
namespace {

using namespace std::chrono_literals;
using test::makeAudioBuffer;

/// Frame n of a buffer is n + 1 thousandths, so that no frame is silent.
float ramp(std::int64_t frame) {
    return static_cast<float>(frame + 1) / 1000.0F;
}

struct Piece {
    double at;
    int frames;
};

struct QueueCase {
    const char* name;
    std::vector<Piece> pieces;
    double start;
    /// Frames of silence (negative) and of sound (positive), one after the other.
    std::vector<int> runs;
};

class Queue : public testing::TestWithParam<QueueCase> {};

TEST_P(Queue, readsInOrderOfTime) {
    AudioQueue queue;
    for (const auto& piece : GetParam().pieces) {
        EXPECT_TRUE(queue.insert(
            makeAudioBuffer(CMTime::fromSeconds(piece.at, 1'000'000), piece.frames, ramp, 1000)));
    }
    AudioQueue::Cursor cursor(CMTime::fromSeconds(GetParam().start, 1'000'000));
    std::vector<int> runs;
    while (const auto chunk = queue.read(cursor, 7)) {
        const int frames = static_cast<int>(chunk->frameCount) * (chunk->isSilence ? -1 : 1);
        if (!runs.empty() && (runs.back() < 0) == chunk->isSilence) {
            runs.back() += frames;
        } else {
            runs.push_back(frames);
        }
    }
    EXPECT_EQ(runs, GetParam().runs);
}

INSTANTIATE_TEST_SUITE_P(
    gapsAndTrims, Queue,
    testing::Values(QueueCase{"seamless", {{0, 100}, {0.1, 100}}, 0, {200}},
                    QueueCase{"outOfOrder", {{0.1, 100}, {0, 100}}, 0, {200}},
                    QueueCase{"fromTheMiddle", {{0, 100}, {0.1, 100}}, 0.15, {50}},
                    QueueCase{"silenceBefore", {{0.05, 10}}, 0, {-50, 10}},
                    QueueCase{"gap", {{0, 10}, {0.1, 10}}, 0, {10, -90, 10}},
                    QueueCase{"gapJustAboveTheJitter", {{0, 10}, {0.016, 10}}, 0, {10, -6, 10}},
                    QueueCase{"stampsThatJitter", {{0, 10}, {0.014, 10}, {0.016, 10}}, 0, {30}},
                    QueueCase{"overlap", {{0, 100}, {0.05, 100}}, 0, {150}},
                    QueueCase{"insideAnother", {{0, 100}, {0.02, 10}, {0.1, 10}}, 0, {110}},
                    QueueCase{"allBehind", {{0, 100}}, 0.1, {}}),
    test::caseName);

TEST(AudioQueueRules, whatHasNoTimeOrNoSamplesIsRefused) {
    AudioQueue queue;
    EXPECT_FALSE(queue.insert(nullptr));
    EXPECT_FALSE(queue.insert(makeAudioBuffer(kCMTimeInvalid, 10, ramp)));
    EXPECT_FALSE(queue.insert(makeAudioBuffer(kCMTimeIndefinite, 10, ramp)));
}

TEST(AudioQueueRules, countsWhatLiesAheadAndReleasesWhatIsBehind) {
    AudioQueue queue;
    queue.insert(makeAudioBuffer(kCMTimeZero, 1000, ramp, 1000));
    queue.insert(makeAudioBuffer(CMTime(10, 1), 1000, ramp, 1000));
    EXPECT_DOUBLE_EQ(queue.secondsAfter(CMTime(1, 4)), 1.75);
    EXPECT_EQ(queue.bytes(), 16000U);
    queue.releaseBefore(CMTime(1, 1));
    EXPECT_EQ(queue.bytes(), 8000U);
    EXPECT_TRUE(queue.hasDataAfter(CMTime(21, 2)));
    EXPECT_FALSE(queue.hasDataAfter(CMTime(11, 1)));
}

/// All frames that the queue gives from `start` on, of the device's first channel.
std::vector<float> rendered(const AudioQueue& queue, const AudioOutputFormat& format,
                            const CMTime& start, std::size_t frames, double rate = 1,
                            AVAudioTimePitchAlgorithm algorithm =
                                AVAudioTimePitchAlgorithm::AVAudioTimePitchAlgorithmSpectral) {
    AudioRenderChain chain(format, start, rate, algorithm);
    const auto channels = static_cast<std::size_t>(format.channelCount());
    std::vector<float> all(frames * channels);
    chain.render([&](auto& cursor, auto count) { return queue.read(cursor, count); }, all, true);
    std::vector<float> first;
    for (std::size_t i = 0; i < all.size(); i += channels) {
        first.push_back(all[i]);
    }
    return first;
}

std::ptrdiff_t loudest(const std::vector<float>& samples) {
    return std::max_element(samples.begin(), samples.end(),
                            [](float a, float b) { return std::abs(a) < std::abs(b); }) -
           samples.begin();
}

struct ChainCase {
    const char* name;
    int sourceRate;
    double rate;
    AVAudioTimePitchAlgorithm algorithm;
    int tolerance;
};

class Chain : public testing::TestWithParam<ChainCase> {};

TEST_P(Chain, anImpulseComesOutOnItsFrame) {
    const auto& [name, sourceRate, rate, algorithm, tolerance] = GetParam();
    AudioQueue queue;
    // 1.5 s into the media, in buffers that do not end on whole frames of the device.
    constexpr int kPiece = 1021;
    const int impulse = sourceRate * 3 / 2;
    for (int start = 0; start < 3 * sourceRate; start += kPiece) {
        queue.insert(makeAudioBuffer(
            CMTime(start, sourceRate), kPiece,
            [&](auto frame) { return start + frame == impulse ? 0.9F : 0.0F; }, sourceRate));
    }
    const auto samples = rendered(queue, {48000, 0x3}, CMTime(1, 4),
                                  static_cast<std::size_t>(96000 / rate), rate, algorithm);
    EXPECT_NEAR(static_cast<double>(loudest(samples)), 1.25 * 48000 / rate, tolerance) << name;
}

constexpr auto kSpectral = AVAudioTimePitchAlgorithm::AVAudioTimePitchAlgorithmSpectral;
constexpr auto kVarispeed = AVAudioTimePitchAlgorithm::AVAudioTimePitchAlgorithmVarispeed;

INSTANTIATE_TEST_SUITE_P(rates, Chain,
                         testing::Values(ChainCase{"same", 48000, 1, kSpectral, 0},
                                         ChainCase{"from44100", 44100, 1, kSpectral, 1},
                                         ChainCase{"from96000", 96000, 1, kSpectral, 1},
                                         ChainCase{"from8000", 8000, 1, kSpectral, 1},
                                         ChainCase{"double", 44100, 2, kSpectral, 240},
                                         ChainCase{"varispeed", 44100, 1.25, kVarispeed, 2}),
                         test::caseName);

TEST(AudioChain, surroundIsMixedToTheDeviceWithoutClipping) {
    AudioQueue queue;
    queue.insert(makeAudioBuffer(
        kCMTimeZero, 48000, [](auto) { return 1.0F; }, 48000, 6,
        kAudioChannelLayoutTag_MPEG_5_1_A));
    const auto samples = rendered(queue, {48000, 0x3}, kCMTimeZero, 1000);
    EXPECT_LE(samples[500], 1.0F);
    EXPECT_GT(samples[500], 0.5F);
}

TEST(AudioChain, aFormatThatChangesInTheMiddleKeepsItsTime) {
    AudioQueue queue;
    queue.insert(makeAudioBuffer(
        kCMTimeZero, 44100, [](auto) { return 0.0F; }, 44100));
    queue.insert(makeAudioBuffer(
        CMTime(1, 1), 32000, [](auto frame) { return frame == 16000 ? 0.9F : 0.0F; }, 32000, 1,
        kAudioChannelLayoutTag_Mono));
    const auto samples = rendered(queue, {48000, 0x3}, kCMTimeZero, 96000);
    EXPECT_NEAR(static_cast<double>(loudest(samples)), 72000, 40);
}

TEST(LinearEstimate, findsADevicesOwnSpeedUnderJitter) {
    LinearClockEstimate estimate(48000);
    for (int i = 0; i < 400; ++i) {
        const double seconds = i * 0.01;
        const double jitter = (i % 7 - 3) * 0.0002;
        estimate.add(seconds * 48024, 50s + HostDuration(std::llround((seconds + jitter) * 1e9)));
    }
    EXPECT_NEAR(estimate.rate(), 48024, 2);
    EXPECT_NEAR(std::chrono::duration<double>(estimate.hostTimeOf(48024.0 * 4) - 54s).count(), 0,
                1e-4);
    EXPECT_NEAR(estimate.frameAt(52s), 2 * 48024.0, 5);
}

TEST(Fallback, takesOverWhileThePreferredOutputIsAway) {
    test::FakeTime time;
    const auto record = std::make_shared<test::RecordingOutput::Record>();
    record->state = AudioOutput::State::opening;
    record->format = {44100, 0x3};
    FallbackAudioOutput output(std::make_unique<test::RecordingOutput>(time, record),
                               std::make_unique<NullAudioOutput>(time.clock(), time.makeTimer()));
    std::vector<AudioOutput::Event> events;
    output.open([&](AudioOutput::Event event) { events.push_back(event); });
    EXPECT_EQ(output.state(), AudioOutput::State::opening);

    record->state = AudioOutput::State::unavailable;
    record->handler(AudioOutput::Event::settled);
    record->handler(AudioOutput::Event::settled);
    EXPECT_EQ(output.state(), AudioOutput::State::ready);
    EXPECT_EQ(output.format().sampleRate, 48000);
    record->state = AudioOutput::State::ready;
    record->handler(AudioOutput::Event::settled);
    EXPECT_EQ(output.format().sampleRate, 44100);
    record->state = AudioOutput::State::unavailable;
    record->handler(AudioOutput::Event::lost);
    EXPECT_EQ(output.format().sampleRate, 48000);
    using Event = AudioOutput::Event;
    EXPECT_EQ(events, (std::vector{Event::settled, Event::settled, Event::lost}));
}

} // namespace
} // namespace zelvane
