// SPDX-License-Identifier: GPL-3.0-or-later
#include <deque>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "media_player/media_source/packet_reading.h"
#include "media_player/media_source/stepping_back.h"

namespace zelvane {
namespace {

/// A track with a stream index only, with times in tenths of a second.
class StubTrack final : public MediaTrack {
  public:
    explicit StubTrack(std::uint32_t streamIndex, AVRational timeBase = {1, 10})
        : MediaTrack("ID", facts(streamIndex, timeBase)) {}

  private:
    static Facts facts(std::uint32_t streamIndex, AVRational timeBase) {
        Facts facts;
        facts.streamIndex = streamIndex;
        facts.streamTimeBase = timeBase;
        return facts;
    }
};

/// "v0k" is a key packet of the video at 0, "v4" no key packet, "s2" a packet of the subtitles,
/// "v-" one without a time, "!" a failing read.
class PacketScript {
  public:
    explicit PacketScript(const std::string& script) {
        std::istringstream stream(script);
        for (std::string word; stream >> word;) {
            words_.push_back(word);
        }
    }

    PacketRef read() {
        if (words_.empty()) {
            return nullptr;
        }
        const std::string word = words_.front();
        words_.pop_front();
        if (word == "!") {
            throw FFmpegError::fromStatus(AVERROR(EIO));
        }
        ffmpeg::AVPacketHandle packet(av_packet_alloc());
        packet->stream_index = word[0] == 'v' ? 0 : 1;
        packet->pts = word[1] == '-' ? AV_NOPTS_VALUE : std::stoll(word.substr(1));
        packet->flags = word.back() == 'k' ? AV_PKT_FLAG_KEY : 0;
        return std::make_shared<const Packet>(std::move(packet));
    }
    std::size_t left() const { return words_.size(); }

  private:
    std::deque<std::string> words_;
};

std::string described(const PacketSource::CollectedPackets& collected) {
    std::string text;
    for (const auto& [track, packets] : collected) {
        text += text.empty() ? "" : " | ";
        text += track->streamIndex() == 0 ? "v" : "s";
        for (const auto& packet : packets) {
            const AVPacket& avPacket = packet->avPacket();
            text += avPacket.pts == AV_NOPTS_VALUE ? " -" : fmt::format(" {}", avPacket.pts);
            text += (avPacket.flags & AV_PKT_FLAG_KEY) != 0 ? "k" : "";
        }
    }
    return text;
}

TEST(PacketCollection, runsFromTheLastKeyBeforeTheTargetThroughTheFirstAtOrPastIt) {
    struct Case {
        const char* script;
        int target;
        const char* expected;
        std::size_t left = 0;
    };
    const std::vector<Case> cases{
        {"v0k v1 v2 v3k v4 v5 v6 v7", 5, "v 3k 4 5", 2},
        {"v0k v2 v4 v6", 5, "v 0k 2 4 6"},
        {"v0k v5k v6", 5, "v 0k 5k", 1},
        // In decode order, past the target comes early.
        {"v0k v8 v2 v4", 5, "v 0k 8", 2},
        {"v3 v4 v6", 5, "v 3 4 6"},
        {"v7 v8", 5, "v 7", 1},
        {"v0k v1 v-k v2", 5, "v 0k 1 -k", 1},
        {"v0k v1 v2", 5, "v 0k 1 2"},
        {"", 5, ""},
        {"s0 s2", 5, "s 0 2"},
        // Subtitles on the way are kept when the video's list is emptied.
        {"s0 v0k s1 v3k v4 s9 v5 s6", 5, "s 0 1 9 | v 3k 4 5", 1},
        {"v0k v3", -1, "v 0k", 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.script);
        PacketScript script(c.script);
        const auto video = std::make_shared<StubTrack>(0);
        const MediaTracks others{std::make_shared<StubTrack>(1)};
        const auto collected =
            collectPackets(video, others, CMTime(c.target, 10), [&] { return script.read(); });
        EXPECT_EQ(described(collected), c.expected);
        EXPECT_EQ(script.left(), c.left);
    }
}

TEST(PacketCollection, keepsWhatADecoderNeedsToSettle) {
    PacketScript script("v0k v1k v2k v3k v4k v5k v6k");
    const auto audio = std::make_shared<StubTrack>(0);
    const auto collected = collectPackets(
        audio, {}, CMTime(5, 10), [&] { return script.read(); }, CMTime(2, 10));
    EXPECT_EQ(described(collected), "v 3k 4k 5k");
}

TEST(PacketCollection, beginsInTimeWithAKeyPacketShownByTheTarget) {
    struct Case {
        const char* script;
        bool expected;
    };
    const std::vector<Case> cases{
        {"v5k", true}, {"v6k", false}, {"v4", false}, {"v0k v4", true},
        {"v-k", true}, {"v-", false},  {"s0", false}, {"", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.script);
        PacketScript script(c.script);
        const auto video = std::make_shared<StubTrack>(0);
        const MediaTracks others{std::make_shared<StubTrack>(1)};
        const auto collected =
            collectPackets(video, others, CMTime(5, 10), [&] { return script.read(); });
        EXPECT_EQ(beginsInTime(collected, video, CMTime(5, 10)), c.expected);
    }
}

TEST(PacketCollection, usesDecodingTimesWithoutPresentationTimes) {
    const auto video = std::make_shared<StubTrack>(0);
    // A picture may be shown half a second after it is decoded.
    for (const auto& [decoded, expected] : {std::pair(0, true), {5, true}, {6, false}}) {
        ffmpeg::AVPacketHandle packet(av_packet_alloc());
        packet->dts = decoded;
        packet->flags = AV_PKT_FLAG_KEY;
        const PacketSource::CollectedPackets collected{
            {video, {std::make_shared<const Packet>(std::move(packet))}}};
        EXPECT_EQ(beginsInTime(collected, video, CMTime(10, 10)), expected) << decoded;
    }
}

TEST(SteppingBack, doublesTheStepUntilItSucceedsOrIsAtTheStart) {
    struct Case {
        int target;
        int enough;
        std::vector<double> expected;
    };
    const std::vector<Case> cases{
        {10, 10, {10}}, {10, 9, {10, 9}}, {10, 7, {10, 9, 8, 6}}, {10, 0, {10, 9, 8, 6, 2}},
        {2, 0, {2}},    {1, 0, {2}},
    };
    for (const Case& c : cases) {
        std::vector<double> tried;
        stepBackUntil(CMTime(c.target, 1), CMTime(2, 1), [&](const CMTime& from) {
            tried.push_back(from.seconds());
            return from <= CMTime(c.enough, 1);
        });
        EXPECT_EQ(tried, c.expected);
    }
}

TEST(PacketCollection, endsAtOnceWithoutATimeBase) {
    PacketScript script("v0k v1");
    const auto video = std::make_shared<StubTrack>(0, AVRational{0, 1});
    const auto collected = collectPackets(video, {}, CMTime(5, 10), [&] { return script.read(); });
    EXPECT_EQ(described(collected), "v 0k");
}

TEST(PacketCollection, passesOnTheErrorOfARead) {
    PacketScript script("v0k !");
    const auto video = std::make_shared<StubTrack>(0);
    EXPECT_THROW(collectPackets(video, {}, CMTime(5, 10), [&] { return script.read(); }),
                 FFmpegError);
}

TEST(SteeringStream, isTheEarliestWithinTenSeconds) {
    const auto at = [](double seconds) { return CMTime::fromSeconds(seconds, 1000); };
    struct Case {
        std::vector<TrackKeyframe> keyframes;
        std::optional<int> expected;
    };
    const std::vector<Case> cases{
        {{}, std::nullopt},
        {{{0, std::nullopt}}, std::nullopt},
        {{{0, at(58)}}, 0},
        {{{0, at(58)}, {1, at(55)}}, 1},
        {{{0, at(58)}, {1, at(30)}}, 0},
        {{{0, at(58)}, {1, at(50)}}, 1},
        {{{0, at(58)}, {1, at(49.999)}}, 0},
        {{{2, at(55)}, {1, at(55)}}, 2},
        {{{0, std::nullopt}, {1, at(30)}}, std::nullopt},
        {{{0, std::nullopt}, {1, at(59)}}, 1},
    };
    for (std::size_t index = 0; index < cases.size(); ++index) {
        EXPECT_EQ(steeringStream(cases[index].keyframes, at(60)), cases[index].expected) << index;
    }
}

} // namespace
} // namespace zelvane
