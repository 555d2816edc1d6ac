// SPDX-License-Identifier: GPL-3.0-or-later
#include <deque>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "media_player/decoders/common/core_media_compatible_decode_session.h"
#include "tests/support/log_capture.h"

namespace zelvane {
namespace {

using test::LogCapture;

/// Follows a script, one letter an answer: a packet is (t)aken, (r)efused or an (e)rror; of a
/// dequeue comes a (b)uffer, (n)othing or an (e)rror. When a script is over packets are taken and
/// nothing comes. What the session did is written down: "p" packet, "E" end packet, "d" dequeue,
/// "f" flush.
class ScriptedDecoder final : public CoreMediaCompatibleDecoder {
  public:
    ScriptedDecoder(const std::string& packets, const std::string& dequeues)
        : packets_(packets.begin(), packets.end()), dequeues_(dequeues.begin(), dequeues.end()) {}

    bool startDecoding(const Packet& packet) override {
        calls += packet.avPacket().data == nullptr && packet.avPacket().size == 0 ? 'E' : 'p';
        const char answer = next(packets_, 't');
        throwIfError(answer);
        return answer == 't';
    }
    CMSampleBufferRef dequeueSampleBuffer() override {
        calls += 'd';
        const char answer = next(dequeues_, 'n');
        throwIfError(answer);
        return answer == 'b' ? makeBuffer() : nullptr;
    }
    void flush() override { calls += 'f'; }

    std::string calls;

  private:
    static char next(std::deque<char>& script, char otherwise) {
        if (script.empty()) {
            return otherwise;
        }
        const char answer = script.front();
        script.pop_front();
        return answer;
    }
    static void throwIfError(char answer) {
        if (answer == 'e') {
            throw FFmpegError::fromStatus(AVERROR_INVALIDDATA);
        }
    }
    /// Numbered by its presentation time, from 0 on.
    CMSampleBufferRef makeBuffer() {
        CMFormatDescription::Audio audio;
        audio.streamDescription = {48000, kAudioFormatLinearPCM, 0, 1, 1, 1, 1, 8, 0};
        audio.channelLayoutTag = kAudioChannelLayoutTag_Mono;
        auto data = std::make_shared<CMBlockBuffer>();
        data->appendMemoryBlock(kSample, {});
        return CMSampleBuffer::ofAudio(data, CMFormatDescription::ofAudio(audio), 1,
                                       {CMTime(1, 48000), CMTime(made_++, 1), kCMTimeInvalid}, 1);
    }

    static constexpr std::array<std::uint8_t, 1> kSample{0};
    std::deque<char> packets_;
    std::deque<char> dequeues_;
    int made_ = 0;
};

/// A session over a script, and the numbers of the buffers that came out of it.
struct Fixture {
    Fixture(const std::string& packets, const std::string& dequeues) : decoder(packets, dequeues) {}

    static PacketRef packet() {
        ffmpeg::AVPacketHandle packet(av_packet_alloc());
        av_new_packet(packet.get(), 4);
        return std::make_shared<const Packet>(std::move(packet));
    }

    ScriptedDecoder decoder;
    std::string delivered;
    CoreMediaCompatibleDecodeSession session{decoder, [this](const CMSampleBufferRef& buffer) {
                                                 delivered += std::to_string(
                                                     buffer->presentationTimeStamp().value());
                                             }};
};

const std::string kDescription = FFmpegError::fromStatus(AVERROR_INVALIDDATA).what();

TEST(DecodeSession, dequeuesUntilTheDecoderTakesThePacket) {
    struct Case {
        std::string packets;
        std::string dequeues;
        std::string calls;
        std::string delivered;
    };
    const std::vector<Case> cases{
        {"t", "b", "p", ""},
        {"rrrt", "bbb", "pdpdpdp", "012"},
        {"rt", "n", "pdp", ""},
        {"rrrrt", "nbnb", "pdpdpdpdp", "01"},
    };
    for (const auto& [packets, dequeues, calls, delivered] : cases) {
        Fixture fixture(packets, dequeues);
        fixture.session.decode(Fixture::packet());
        EXPECT_EQ(fixture.decoder.calls, calls) << packets;
        EXPECT_EQ(fixture.delivered, delivered) << packets;
    }
}

TEST(DecodeSession, aFailedFrameCostsWhatTheDecoderHolds) {
    const LogCapture log;
    Fixture fixture("rt", "e");
    fixture.session.decode(Fixture::packet());
    EXPECT_EQ(fixture.decoder.calls, "pdfp");
    EXPECT_EQ(log.lines(),
              std::vector{"Failed to dequeue a sample buffer: " + kDescription +
                          ". Resetting the decoder so that we can submit the next packet."});
}

TEST(DecodeSession, aFailedPacketGoesToTheCallerAndLeavesTheSessionUsable) {
    Fixture fixture("ererrt", "bbb");
    EXPECT_THROW(fixture.session.decode(Fixture::packet()), FFmpegError);
    EXPECT_THROW(fixture.session.decode(Fixture::packet()), FFmpegError);
    EXPECT_EQ(fixture.decoder.calls, "ppdp");
    fixture.session.decode(Fixture::packet());
    EXPECT_EQ(fixture.delivered, "012");
}

TEST(DecodeSession, finishDeliversAllBeforeAndAfterTheEnd) {
    Fixture fixture("t", "bbnbb");
    fixture.session.finish();
    EXPECT_EQ(fixture.decoder.calls, "dddEddd");
    EXPECT_EQ(fixture.delivered, "0123");
}

TEST(DecodeSession, finishTellsTheEndToAnEmptyDecoder) {
    Fixture fixture("", "");
    fixture.session.finish();
    EXPECT_EQ(fixture.decoder.calls, "dEd");
    EXPECT_EQ(fixture.delivered, "");
}

TEST(DecodeSession, finishGoesOnToTheEndAfterAFailedFrame) {
    const LogCapture log;
    Fixture fixture("t", "be"
                         "b");
    fixture.session.finish();
    EXPECT_EQ(fixture.decoder.calls, "ddfEdd");
    EXPECT_EQ(fixture.delivered, "01");
    EXPECT_EQ(log.count("Resetting the decoder"), 1U);
}

TEST(DecodeSession, whatFailsBehindTheEndIsLoggedAndThrown) {
    const LogCapture log;
    Fixture fixture("t", "nbeb");
    EXPECT_THROW(fixture.session.finish(), FFmpegError);
    EXPECT_EQ(fixture.delivered, "0");
    EXPECT_EQ(log.lines(),
              std::vector{"Failed to dequeue remaining sample buffers from media decoder: " +
                          kDescription + "."});
}

TEST(DecodeSession, aHandlerMayReplaceItself) {
    Fixture fixture("rrrt", "bbb");
    std::string later;
    fixture.session.setSampleBufferHandler([&](const CMSampleBufferRef&) {
        fixture.session.setSampleBufferHandler([&](const CMSampleBufferRef& buffer) {
            later += std::to_string(buffer->presentationTimeStamp().value());
        });
    });
    fixture.session.decode(Fixture::packet());
    EXPECT_EQ(later, "12");
}

TEST(DecodeSession, aBusyDecoderIsGivenManyRoundsBetweenBuffers) {
    const std::string busy(60, 'r');
    Fixture fixture(busy + 'r' + busy + 't', std::string(60, 'n') + 'b' + std::string(60, 'n'));
    fixture.session.decode(Fixture::packet());
    EXPECT_EQ(fixture.delivered, "0");
}

TEST(DecodeSession, aDecoderThatRefusesAndHasNothingCostsItsPacket) {
    for (const std::string dequeues : {"", "e"}) {
        Fixture fixture(std::string(100, 'r'), dequeues);
        const LogCapture log;
        EXPECT_THROW(fixture.session.decode(Fixture::packet()), FFmpegError);
        EXPECT_EQ(log.lines().back(), "Unable to start decoding packet even though there are no "
                                      "more sample buffers to dequeue.");
    }
}

} // namespace
} // namespace zelvane
