// SPDX-License-Identifier: GPL-3.0-or-later
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "media_player/playback/recent_frames.h"
#include "media_player/playback/seek_answer.h"
#include "rendering/frame_schedule.h"
#include "tests/media_player/playback/playback_fakes.h"

namespace zelvane::test {
namespace {

/// "40+20" lasts 20 ms from 40 ms on, "40" is silent about it.
CMSampleBufferRef pictureFrom(const std::string& word) {
    const auto plus = word.find('+');
    return makePicture(ms(std::stoll(word)), plus == std::string::npos
                                                 ? kCMTimeInvalid
                                                 : ms(std::stoll(word.substr(plus + 1))));
}

/// The starts of what is handed on, "late" when an earlier beginning is asked for, "-" when nothing
/// is found.
std::string answered(const std::string& pictures, std::int64_t target, bool takesLater) {
    std::string text;
    SeekAnswer answer(ms(target), takesLater, [&](const CMSampleBufferRef& picture) {
        text += (text.empty() ? "" : " ") +
                std::to_string(inMilliseconds(picture->presentationTimeStamp()));
    });
    std::istringstream words(pictures);
    bool ends = false;
    for (std::string word; words >> word;) {
        ends = word == "|";
        if (!ends) {
            answer.add(pictureFrom(word));
        }
    }
    if (ends) {
        answer.finish();
    }
    if (answer.isTooLate()) {
        return "late";
    }
    EXPECT_EQ(answer.isFound(), !text.empty());
    return text.empty() ? "-" : text;
}

TEST(SeekAnswer, isWhatStraightPlaybackShows) {
    struct Case {
        const char* pictures;
        std::int64_t target;
        const char* expected;
        bool takesLater = false;
    };
    const std::vector<Case> cases{
        {"0+40 40+40 80+40 120+40", 80, "80 120"},
        {"0+40 40+40 80+40 120+40", 119, "80 120"},
        {"80+40 120+40", 80, "80 120"},
        // A gap shows the picture before it, as does a picture that is silent about its end.
        {"0+40 40+40 200+40", 100, "40 200"},
        {"0 40 200 240", 100, "40 200 240"},
        {"0 40 200 240", 40, "40 200 240"},
        // What a decoder gives late, it has not given cleanly.
        {"80+40 120+40", 50, "late"},
        {"80+40 120+40", 50, "80 120", true},
        // A rounded end may lie behind the start of the next.
        {"0+40 39+40 78+40", 39, "39 78"},
        {"0+40 40+40", 39, "0 40"},
        {"0+40 |", 39, "0"},
        // After the end the last picture stays.
        {"0+40 40+40 |", 90, "40"},
        {"0 40 |", 90, "40"},
        {"|", 90, "-"},
        {"0+40", 90, "-"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.pictures + std::string(" at ") + std::to_string(c.target));
        EXPECT_EQ(answered(c.pictures, c.target, c.takesLater), c.expected);
    }
}

TEST(SeekAnswer, tellsADecoderThatGaveNothingFromOneThatGaveTooLittle) {
    SeekAnswer answer(ms(100), false, [](const CMSampleBufferRef&) {});
    EXPECT_FALSE(answer.hasSeenPictures());
    answer.add(pictureFrom("0+40"));
    EXPECT_TRUE(answer.hasSeenPictures());
    EXPECT_FALSE(answer.isFound());
}

class RecentFramesTest : public testing::Test {
  protected:
    void add(std::initializer_list<const char*> pictures) {
        for (const char* picture : pictures) {
            recent_.add(pictureFrom(picture));
        }
    }
    std::string from(std::int64_t time) const {
        std::string text;
        for (const auto& frame : recent_.from(ms(time))) {
            text += (text.empty() ? "" : " ") +
                    std::to_string(inMilliseconds(frame->presentationTimeStamp()));
        }
        return text;
    }

    static std::size_t bytesPerFrame() { return pictureFrom("0")->imageBuffer()->dataSize(); }
    RecentFrames recent_{{.bytes = 6 * bytesPerFrame(),
                          .bytesInPlayback = 3 * bytesPerFrame(),
                          .framesAfterSeek = 2}};
};

TEST_F(RecentFramesTest, giveTheFrameSeenAtATimeAndWhatFollowsIt) {
    recent_.beginSeek();
    add({"40+40", "80+20", "200+40", "240"});
    EXPECT_EQ(from(39), "");
    EXPECT_EQ(from(40), "40 80 200 240");
    EXPECT_EQ(from(150), "80 200 240");
    EXPECT_EQ(from(239), "200 240");
    // Nothing tells how long the newest is seen.
    EXPECT_EQ(from(240), "");
    add({"280+40"});
    EXPECT_EQ(from(318), "280");
    // Its end may be rounded.
    EXPECT_EQ(from(319), "");
    EXPECT_EQ(from(320), "");
}

TEST_F(RecentFramesTest, keepMoreAroundASeekThanInPlayback) {
    recent_.beginSeek();
    add({"0+40", "40+40", "80+40", "120+40", "160+40", "200+40", "240+40"});
    EXPECT_EQ(from(0), "");
    EXPECT_EQ(from(40), "40 80 120 160 200 240");
    recent_.endSeek();
    add({"280+40", "320+40"});
    EXPECT_EQ(from(120), "120 160 200 240 280 320");
    add({"360+40"});
    EXPECT_EQ(from(240), "");
    EXPECT_EQ(from(280), "280 320 360");
    EXPECT_EQ(recent_.capacityBefore(), 4U);
}

/// While the clock stands the renderer reads ahead until it is full, and the decoder is a picture
/// or two further; none of that may cost the frames that the next step back wants.
TEST(RecentFramesLimits, leaveRoomForStepsBackBesideWhatIsReadAhead) {
    constexpr std::size_t kBytesOf1080p = std::size_t{1920} * 1080 * 3 / 2;
    constexpr std::size_t kInFlight = 2;
    FrameSchedule readAhead;
    std::size_t framesAhead = 0;
    for (; readAhead.isReadyForMore(); ++framesAhead) {
        const auto time = static_cast<std::int64_t>(framesAhead);
        readAhead.add({CMTime(time, 30), CMTime(1, 30), kBytesOf1080p, nullptr});
    }
    const RecentFrames::Limits limits;
    EXPECT_LE(framesAhead + kInFlight, limits.framesAfterSeek);
    EXPECT_GE(limits.bytes / kBytesOf1080p, limits.framesAfterSeek + 3);
}

TEST_F(RecentFramesTest, neverHaveAHole) {
    add({"0+40", "40+40"});
    add({"20+40"});
    EXPECT_EQ(from(0), "");
    EXPECT_EQ(from(20), "20");
    recent_.clear();
    EXPECT_EQ(recent_.newest(), nullptr);
}

} // namespace
} // namespace zelvane::test
