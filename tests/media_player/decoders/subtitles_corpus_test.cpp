// SPDX-License-Identifier: GPL-3.0-or-later
//
// Compares every file of text subtitles with ffmpeg's result.

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "core_media/ffmpeg_log.h"
#include "media_player/decoders/subtitles/ffmpeg_subtitles_frame_decoder.h"
#include "tests/media_player/decoders/demuxed_stream.h"
#include "tests/support/clips.h"
#include "tests/support/log_capture.h"

namespace zelvane {
namespace {

namespace fs = std::filesystem;
using test::DemuxedStream;

struct Cue {
    std::int64_t start = 0;
    std::int64_t end = 0;
    std::string text;
};

/// One side may round milliseconds, the other truncate.
bool areEqual(const Cue& a, const Cue& b) {
    return std::abs(a.start - b.start) <= 1 && std::abs(a.end - b.end) <= 1 && a.text == b.text;
}

std::string description(const std::vector<Cue>& cues) {
    std::string text;
    for (const Cue& cue : cues) {
        text += fmt::format("{}-{} {}\n", cue.start, cue.end, cue.text);
    }
    return text;
}

/// The cues of a file, and the reasons of lost ones.
struct Decoded {
    std::vector<Cue> cues;
    std::vector<std::string> losses;
};

Cue cueOf(const SubtitlesFrame& frame) {
    const auto milliseconds = [](const CMTime& time) {
        return time.convertScale(1000, CMTimeRoundingMethod::roundTowardZero).value();
    };
    return {milliseconds(frame.startTime), milliseconds(frame.endTime), plainText(frame.subtitles)};
}

Decoded decodeAll(const DemuxedStream& source) {
    Decoded decoded;
    try {
        FFmpegSubtitlesFrameDecoder decoder(source.stream());
        for (const auto& packet : source.packets()) {
            try {
                if (const auto frame = decoder.dequeueFrame(*packet)) {
                    decoded.cues.push_back(cueOf(*frame));
                }
            } catch (const Error& error) {
                decoded.losses.emplace_back(error.what());
            }
        }
    } catch (const Error& error) {
        decoded.losses.emplace_back(error.what());
    }
    return decoded;
}

std::int64_t milliseconds(const std::string& time) {
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    int rest = 0;
    // NOLINTNEXTLINE(cert-err34-c)
    std::sscanf(time.c_str(), "%d:%d:%d,%d", &hours, &minutes, &seconds, &rest);
    return ((hours * 60LL + minutes) * 60 + seconds) * 1000 + rest;
}

std::vector<std::string> linesOf(const fs::path& path) {
    std::ifstream stream(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        std::erase(line, '\r');
        lines.push_back(line);
    }
    return lines;
}

/// Cues are numbered, and a text may have empty lines: a new one begins where the next number
/// precedes a time.
std::vector<Cue> readSRT(const fs::path& path) {
    const auto lines = linesOf(path);
    std::vector<Cue> cues;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const bool isNumber = lines[i] == std::to_string(cues.size() + 1);
        const auto arrow = i + 1 < lines.size() ? lines[i + 1].find(" --> ") : std::string::npos;
        if (isNumber && arrow != std::string::npos) {
            cues.push_back({milliseconds(lines[i + 1].substr(0, arrow)),
                            milliseconds(lines[i + 1].substr(arrow + 5)),
                            {}});
            ++i;
        } else if (!cues.empty()) {
            cues.back().text += lines[i] + "\n";
        }
    }
    for (Cue& cue : cues) {
        // The line end of the text, and the empty line after it.
        cue.text.resize(cue.text.size() - std::min<std::size_t>(cue.text.size(), 2));
    }
    return cues;
}

/// One run of ffmpeg writes the plain text of all files, which is the markup stripped.
class FFmpegTexts {
  public:
    explicit FFmpegTexts(const std::vector<fs::path>& files) {
        std::vector<std::string> arguments{"-copyts"};
        for (const fs::path& file : files) {
            arguments.insert(arguments.end(), {"-i", file.string()});
        }
        for (std::size_t i = 0; i < files.size(); ++i) {
            const std::vector<std::string> output{
                "-map", fmt::format("{}:s:0", i), "-c:s", "text", "-f", "srt", fileOf(i).string()};
            arguments.insert(arguments.end(), output.begin(), output.end());
        }
        arguments.insert(arguments.end(), {"-map", "0:s:0", "-c:s", "text"});
        test::madeClip("corpus.srt", arguments);
    }

    std::vector<Cue> cues(std::size_t index) const { return readSRT(fileOf(index)); }

  private:
    fs::path fileOf(std::size_t index) const {
        return folder_.path() / fmt::format("{}.srt", index);
    }

    test::TemporaryFolder folder_;
};

bool isText(const DemuxedStream& source) {
    const auto* descriptor = avcodec_descriptor_get(source.stream().codecpar->codec_id);
    return descriptor != nullptr && (descriptor->props & AV_CODEC_PROP_TEXT_SUB) != 0;
}

/// The files whose first subtitles libavformat finds to be text.
std::vector<fs::path> textFiles(const fs::path& media) {
    std::vector<fs::path> files;
    for (const char* folder : {"ass-scripts", "subtitles/sides", "subtitles/embedded"}) {
        for (const auto& entry : fs::directory_iterator(media / folder)) {
            try {
                if (isText(DemuxedStream(entry.path(), AVMEDIA_TYPE_SUBTITLE))) {
                    files.push_back(entry.path());
                }
            } catch (const std::exception&) {
                // No subtitles that libavformat knows.
                continue;
            }
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

constexpr const char* kDuplicateStyle = "a script with two styles of one name is refused";
constexpr const char* kMalformedBlock = "a malformed block loses its line, ffmpeg shows its rest";
constexpr const char* kOwnColumns =
    "the script has columns of its own, which ffmpeg's encoder does not know and finds empty";

/// Files whose text differs from ffmpeg's, and the reasons.
const std::map<std::string, const char*>& exceptions() {
    static const std::map<std::string, const char*> reasons{
        {"FontCollector_2_duplicate_style_name.ass", kDuplicateStyle},
        {"FontCollector_2_duplicate_style_name_with_number.ass", kDuplicateStyle},
        {"FontCollector_3_duplicate_style_name.ass", kDuplicateStyle},
        {"FontCollector_Empty_line_with_invalid_style.ass", kMalformedBlock},
        {"FontCollector_Non-empty_line_with_invalid_style.ass", kMalformedBlock},
        {"FontCollector_Style_test.ass", kMalformedBlock},
        {"androidx_invalid_layer.ass", kOwnColumns},
        {"androidx_invalid_positioning.ass", kOwnColumns},
        {"androidx_invalid_timecodes.ass", kOwnColumns},
        {"androidx_layer.ass", kOwnColumns},
        {"androidx_overlapping_cues_different_layers.ass", kOwnColumns},
        {"androidx_positioning.ass", kOwnColumns},
        {"androidx_positioning_without_playres.ass", kOwnColumns},
        {"androidx_typical.ass", kOwnColumns},
        {"androidx_typical_utf16be.ass", kOwnColumns},
        {"androidx_typical_utf16le.ass", kOwnColumns},
        {"libasstests_ffmpeg_legacy1.ass.disabled", kOwnColumns},
        {"libasstests_ffmpeg_legacy2+sbas.ass", kOwnColumns},
        {"libasstests_ffmpeg_legacy2.ass", kOwnColumns},
        {"libasstests_ffmpeg_legacy3.ass", kOwnColumns},
    };
    return reasons;
}

bool isReasonKnown(const std::string& loss) {
    const std::vector<std::string> reasons{"duplicateStyleName(", "invalidTextAlignmentValue(",
                                           "invalidDialogBytes",
                                           // A malformed block, and what libavcodec refuses: an
                                           // empty paragraph of SAMI, or text that is no UTF-8.
                                           FFmpegError::fromStatus(AVERROR_INVALIDDATA).what(),
                                           FFmpegError::fromStatus(AVERROR(EPERM)).what()};
    return std::any_of(reasons.begin(), reasons.end(), [&](const std::string& reason) {
        return loss.substr(0, reason.size()) == reason;
    });
}

TEST(SubtitlesCorpus, textAndTimesAreThoseOfFFmpeg) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    const test::LogCapture log;
    quietFFmpegLog();
    const auto files = textFiles(media);
    EXPECT_GE(files.size(), 250U);
    const FFmpegTexts texts(files);
    std::size_t frameCount = 0;
    std::map<std::string, int> losses;
    for (std::size_t i = 0; i < files.size(); ++i) {
        const std::string name = files[i].filename().string();
        const Decoded decoded = decodeAll(DemuxedStream(files[i], AVMEDIA_TYPE_SUBTITLE));
        const auto expected = texts.cues(i);
        const bool isEqual = std::equal(decoded.cues.begin(), decoded.cues.end(), expected.begin(),
                                        expected.end(), areEqual);
        EXPECT_EQ(isEqual, !exceptions().contains(name)) << name << "\n"
                                                         << description(decoded.cues) << "ffmpeg:\n"
                                                         << description(expected);
        frameCount += decoded.cues.size();
        for (const std::string& loss : decoded.losses) {
            EXPECT_TRUE(isReasonKnown(loss)) << name << ": " << loss;
            ++losses[loss];
        }
    }
    fmt::print("{} files, {} frames, lost:\n", files.size(), frameCount);
    for (const auto& [reason, count] : losses) {
        fmt::print("  {} {}\n", count, reason);
    }
}

TEST(SubtitlesCorpus, payloadsOfTimedTextDecodeOrFailByThemselves) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    const test::LogCapture log;
    std::size_t count = 0;
    for (const auto& entry : fs::directory_iterator(media / "subtitles/payloads")) {
        std::ifstream stream(entry.path(), std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
        // Headers and samples alike are tried as both.
        const test::DemuxedStream source(media / "subtitles/embedded/subtitleedit_sample_MP4.mp4",
                                         AVMEDIA_TYPE_SUBTITLE);
        auto& parameters = *source.stream().codecpar;
        av_freep(&parameters.extradata);
        parameters.extradata =
            static_cast<std::uint8_t*>(av_mallocz(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE));
        std::copy(bytes.begin(), bytes.end(), parameters.extradata);
        parameters.extradata_size = static_cast<int>(bytes.size());
        FFmpegSubtitlesFrameDecoder decoder(source.stream());
        ffmpeg::AVPacketHandle packet(av_packet_alloc());
        av_new_packet(packet.get(), static_cast<int>(bytes.size()));
        std::copy(bytes.begin(), bytes.end(), packet->data);
        packet->pts = 0;
        packet->duration = 1000;
        try {
            count += decoder.dequeueFrame(Packet(std::move(packet))) != nullptr ? 1 : 0;
        } catch (const Error& error) {
            EXPECT_TRUE(isReasonKnown(error.what())) << entry.path() << error.what();
        }
    }
    EXPECT_GE(count, 5U);
}

} // namespace
} // namespace zelvane
