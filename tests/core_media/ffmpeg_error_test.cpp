// SPDX-License-Identifier: GPL-3.0-or-later
#include <deque>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "core_media/ffmpeg_error.h"
#include "foundation/error.h"
#include "tests/support/log_capture.h"

namespace zelvane {
namespace {

using test::LogCapture;
using Case = FFmpegError::Case;

TEST(FFmpegError, aStatusHasItsCase) {
    const std::vector<std::pair<int, Case>> cases{
        {AVERROR_EOF, Case::eof},
        {AVERROR(EAGAIN), Case::posixEAGAIN},
        {AVERROR(ERANGE), Case::posixERANGE},
        {AVERROR_INVALIDDATA, Case::other},
        {AVERROR(ENOENT), Case::other},
        {-1, Case::other},
    };
    for (const auto& [status, errorCase] : cases) {
        const auto error = FFmpegError::fromStatus(status);
        EXPECT_EQ(error.errorCase(), errorCase) << status;
        EXPECT_EQ(error.payload(), status);
    }
    EXPECT_EQ(FFmpegError::fromStatus(AVERROR_EOF), FFmpegError::simple(Case::eof));
    EXPECT_NE(FFmpegError::fromStatus(-1), FFmpegError::fromStatus(-2));
}

TEST(FFmpegError, describesEachCase) {
    const std::vector<std::pair<FFmpegError, std::string>> cases{
        {FFmpegError::fromStatus(AVERROR_EOF), "End of file"},
        {FFmpegError::fromStatus(AVERROR(EAGAIN)), "Resource temporarily unavailable"},
        {FFmpegError::fromStatus(AVERROR(ERANGE)), "Numerical result out of range"},
        {FFmpegError::fromStatus(AVERROR_INVALIDDATA), "Invalid data found when processing input"},
        {FFmpegError::fromStatus(AVERROR(ENOENT)), "No such file or directory"},
        {FFmpegError::decoderNotFound(AV_CODEC_ID_MPEG1VIDEO),
         "Failed to find decoder for codec ID 1."},
        {FFmpegError::unknownAudioSampleSize(AV_SAMPLE_FMT_NONE),
         "Unknown sample size for sample format -1."},
        {FFmpegError::unknownSampleFormat(static_cast<AVSampleFormat>(77)),
         "Unknown sample format 77."},
        {FFmpegError::unsupportedChannelCount(9), "9 is not a supported channel count."},
        {FFmpegError::channelLayoutDoesNotMatchChannelCount(3, 4),
         "Channel layout `3` does not match channel count of 4."},
        {FFmpegError::unexpectedChannelType(std::uint64_t{1} << 63),
         "Unexpectedly encountered channel type `9223372036854775808`."},
        {FFmpegError::unsupportedChannelLayout(63), "Unsupported channel layout 63."},
        {FFmpegError::simple(Case::allocationFailure), "Failed to allocate memory."},
        {FFmpegError::simple(Case::unsupportedMediaType), "The media type is not supported."},
        {FFmpegError::simple(Case::noPresentationTimestamp),
         "Frame does not contain presentation timestamp."},
        {FFmpegError::simple(Case::unknownSubtitleType), "Subtitle type is unknown."},
    };
    for (const auto& [error, text] : cases) {
        EXPECT_EQ(error.what(), text);
        EXPECT_EQ(errorDescriptionText(error), text);
    }
}

/// Returns one status after the other, and counts the calls.
struct Statuses {
    std::deque<int> answers;
    int calls = 0;

    int operator()() {
        ++calls;
        const int answer = answers.front();
        answers.pop_front();
        return answer;
    }
};

TEST(CheckedFFmpegCall, retriesOnEAGAINOnly) {
    constexpr int kAgain = AVERROR(EAGAIN);
    struct Trial {
        std::deque<int> answers;
        bool retryOnEAGAIN;
        int calls;
        std::optional<int> result;
        std::optional<Case> thrown;
    };
    const std::vector<Trial> trials{
        {{0}, false, 1, 0, {}},
        {{7}, true, 1, 7, {}},
        {{kAgain, kAgain, kAgain, 0}, true, 4, 0, {}},
        {{kAgain, kAgain, kAgain, 0}, false, 1, {}, Case::posixEAGAIN},
        {{kAgain, AVERROR_EOF, 0}, true, 2, {}, Case::eof},
        {{AVERROR(EIO), 0}, true, 1, {}, Case::other},
    };
    for (std::size_t i = 0; i < trials.size(); ++i) {
        const LogCapture log;
        const Trial& trial = trials[i];
        Statuses statuses{trial.answers};
        std::optional<int> result;
        std::optional<Case> thrown;
        try {
            result = checkedFFmpegCall(statuses, {.retryOnEAGAIN = trial.retryOnEAGAIN});
        } catch (const FFmpegError& error) {
            thrown = error.errorCase();
        }
        EXPECT_EQ(result, trial.result) << i;
        EXPECT_EQ(thrown, trial.thrown) << i;
        EXPECT_EQ(statuses.calls, trial.calls) << i;
        EXPECT_EQ(log.lines().size(), thrown ? 1U : 0U) << i;
    }
}

TEST(CheckedFFmpegCall, logsThePlaceUnlessTheErrorIsExpected) {
    const LogCapture log;
    const int line = __LINE__ + 1;
    EXPECT_THROW(checkedFFmpegCall([] { return AVERROR_EOF; }), FFmpegError);
    EXPECT_EQ(log.lines(), std::vector{fmt::format(
                               "In ffmpeg_error_test.cpp TestBody, the FFmpeg function at line {} "
                               "returned an error: End of file.",
                               line)});
    EXPECT_THROW(
        checkedFFmpegCall([] { return AVERROR_EOF; }, {.expected = {Case::posixEAGAIN, Case::eof}}),
        FFmpegError);
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST(CheckedFFmpegAllocation, throwsForNull) {
    const LogCapture log;
    int value = 0;
    EXPECT_EQ(checkedFFmpegAllocation(&value), &value);
    const int line = __LINE__ + 1;
    EXPECT_THROW(checkedFFmpegAllocation(static_cast<int*>(nullptr)), FFmpegError);
    EXPECT_EQ(log.lines(), std::vector{fmt::format(
                               "In ffmpeg_error_test.cpp TestBody, the FFmpeg function at line {} "
                               "returned an error: Failed to allocate memory..",
                               line)});
}

} // namespace
} // namespace zelvane
