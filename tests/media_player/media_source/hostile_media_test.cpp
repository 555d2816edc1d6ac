// SPDX-License-Identifier: GPL-3.0-or-later
#include <chrono>
#include <random>

#include <gtest/gtest.h>

#include "tests/media_player/media_source/media_source_support.h"
#include "tests/support/log_capture.h"

namespace zelvane {
namespace {

namespace fs = std::filesystem;

/// A load that fails with its texts, or reads to its ends.
void expectHarmless(const fs::path& path) {
    // Normally it takes milliseconds; sanitizers on a busy machine need more.
    constexpr std::chrono::seconds kLimit{20};
    const auto start = std::chrono::steady_clock::now();
    try {
        const auto source = test::openSource(path);
        EXPECT_FALSE(source->videoTracks().empty() && source->audioTracks().empty() &&
                     source->subtitlesTracks().empty());
        test::readToEnd(source);
        if (const auto video = test::firstVideoTrack(*source)) {
            source->visualTracksQueue()->sync([&] {
                try {
                    source->seekVisual(video, source->subtitlesTracks(), CMTime(1, 2));
                } catch (const FFmpegError&) { // The next seek repositions it.
                }
            });
        }
    } catch (const MediaSource::LoadError& error) {
        EXPECT_TRUE(error.errorDescription() && !error.failureReason()->empty());
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, kLimit);
}

std::vector<fs::path> smallClips() {
    const auto made = [](const std::string& name, const std::string& codecs) {
        return test::madeClip("hostile-" + name,
                              test::lavfi("testsrc2=size=32x32:rate=5:duration=1") +
                                  test::lavfi("sine=duration=1:sample_rate=16000") + codecs);
    };
    return {made("h264.mp4", "-c:v libx264 -c:a aac"), made("vp8.mkv", "-c:v libvpx -c:a libopus"),
            made("mpeg2.ts", "-c:v mpeg2video -c:a mp2"), made("mpeg4.avi", "-c:v mpeg4 -c:a mp3"),
            made("theora.ogg", "-c:v libtheora -c:a libvorbis")};
}

TEST(HostileMedia, everyBrokenFileEndsInAnErrorOrReadsToItsEnd) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    const test::LogCapture log;
    int count = 0;
    for (const auto& entry : fs::directory_iterator(media / "broken")) {
        SCOPED_TRACE(entry.path());
        expectHarmless(entry.path());
        ++count;
    }
    EXPECT_GT(count, 80);
}

TEST(HostileMedia, aDisplayMatrixOfZerosIsIgnored) {
    const test::TemporaryFolder folder;
    std::string bytes = test::bytesOf(smallClips().front());
    constexpr std::size_t kMatrixOffset = 44;
    bytes.replace(bytes.find("tkhd") + kMatrixOffset, 36, 36, '\0');
    const test::LogCapture log;
    const auto source = test::openSource(test::written(folder.path() / "zeros.mp4", bytes));
    EXPECT_EQ(test::firstVideoTrack(*source)->dimensions().effectiveSize, (CGSize{32, 32}));
    EXPECT_EQ(log.count("Ignoring a display matrix that leaves no area."), 1U);
}

TEST(HostileMedia, aFileCutAnywhereIsHarmless) {
    const test::TemporaryFolder folder;
    const test::LogCapture log;
    for (const fs::path& clip : smallClips()) {
        const std::string bytes = test::bytesOf(clip);
        for (std::size_t step = 0; step < 24; ++step) {
            // Dense near the start, where the headers are.
            const std::size_t length = bytes.size() * step * step / (24 * 24);
            SCOPED_TRACE(clip.filename().string() + " cut at " + std::to_string(length));
            expectHarmless(test::written(folder.path() / clip.filename(), bytes.substr(0, length)));
        }
    }
}

TEST(HostileMedia, flippedBytesAreHarmless) {
    const test::TemporaryFolder folder;
    const test::LogCapture log;
    std::mt19937 random(20260101); // NOLINT: the same mutations in every run
    for (const fs::path& clip : smallClips()) {
        const std::string bytes = test::bytesOf(clip);
        for (int round = 0; round < 60; ++round) {
            std::string mutated = bytes;
            // Half of the rounds in the headers.
            const std::size_t range = round % 2 == 0 ? mutated.size() : mutated.size() / 8;
            for (int flip = 0; flip <= round / 6; ++flip) {
                mutated[random() % range] = static_cast<char>(random());
            }
            SCOPED_TRACE(clip.filename().string() + " round " + std::to_string(round));
            expectHarmless(test::written(folder.path() / clip.filename(), mutated));
        }
    }
}

} // namespace
} // namespace zelvane
