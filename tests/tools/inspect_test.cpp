// SPDX-License-Identifier: GPL-3.0-or-later
//
// Runs zelvane-inspect and compares its output with ffmpeg's.

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/support/clips.h"

namespace zelvane {
namespace {

using Json = nlohmann::json;

struct Output {
    int status = -1;
    std::string text;

    Json json() const { return Json::parse(text); }
    std::vector<Json> lines() const {
        std::vector<Json> found;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);) {
            found.push_back(Json::parse(line));
        }
        return found;
    }
};

Output run(const std::string& command) {
    struct Close {
        int* status;
        void operator()(std::FILE* pipe) const { *status = WEXITSTATUS(pclose(pipe)); }
    };
    Output output;
    {
        const std::unique_ptr<std::FILE, Close> pipe(popen((command + " 2>/dev/null").c_str(), "r"),
                                                     Close{&output.status});
        std::array<char, 4096> block{};
        while (const auto count = std::fread(block.data(), 1, block.size(), pipe.get())) {
            output.text.append(block.data(), count);
        }
    }
    return output;
}

Output inspect(const std::string& command, const std::filesystem::path& file,
               const std::string& options = "") {
    return run(std::string(ZELVANE_INSPECT) + " " + command + " '" + file.string() + "' " +
               options);
}

std::string ffmpegOutput(const std::filesystem::path& file, const std::string& options) {
    return run("ffmpeg -v error -i '" + file.string() + "' " + options).text;
}

std::string ffmpegHash(const std::filesystem::path& file, const std::string& options) {
    return ffmpegOutput(file, options + " - | sha256sum").substr(0, 64);
}

std::filesystem::path twoTrackClip() {
    using test::lavfi;
    return test::madeClip("inspect.mkv",
                          lavfi("testsrc2=s=322x180:r=25:d=2") + lavfi("sine=f=440:r=44100:d=2") +
                              lavfi("sine=f=880:r=48000:d=2") +
                              "-map 0 -map 1 -map 2 -pix_fmt yuv420p -c:v libx264 -g 10 "
                              "-c:a pcm_s16le -metadata:s:a:0 language=ger "
                              "-metadata:s:a:1 language=eng -metadata:s:a:1 title=Second");
}

TEST(Inspect, loadPrintsTheTracks) {
    const auto loaded = inspect("load", twoTrackClip());
    ASSERT_EQ(loaded.status, 0);
    const Json json = loaded.json();
    EXPECT_EQ(json["mediaType"], "video");
    EXPECT_EQ(json["duration"], (Json{{"value", 2000000}, {"timescale", 1000000}}));
    ASSERT_EQ(json["videoTracks"].size(), 1U);
    EXPECT_EQ(json["videoTracks"][0]["dimensions"]["effectiveSize"],
              (Json{{"width", 322.0}, {"height", 180.0}}));
    EXPECT_EQ(json["videoTracks"][0]["frameRate"], (Json{{"num", 25}, {"den", 1}}));
    ASSERT_EQ(json["audioTracks"].size(), 2U);
    EXPECT_EQ(json["audioTracks"][0]["languageCodes"], Json({"de"}));
    EXPECT_EQ(json["audioTracks"][1]["title"], "Second");
    EXPECT_EQ(json["audioTracks"][1]["streamIndex"], 2);
}

TEST(Inspect, loadPrintsMetadataAndArtwork) {
    const auto cover =
        test::madeClip("inspect-cover.png", test::lavfi("testsrc2=s=90x60:d=0.04") + "-frames:v 1");
    const auto song = test::madeClip(
        "inspect-song.m4a",
        test::lavfi("sine=d=1") + test::inputFile(cover) +
            "-map 0 -map 1 -c:v copy -disposition:v attached_pic -metadata title=Ton "
            "-metadata date=2001-02-03 -metadata media_type=1");
    const auto loaded = inspect("load", song);
    ASSERT_EQ(loaded.status, 0);
    const Json metadata = loaded.json()["optionalMetadata"];
    EXPECT_EQ(metadata["title"], "Ton");
    EXPECT_EQ(metadata["releaseYear"], 2001);
    EXPECT_EQ(metadata["mediaSubtype"], 1);
    EXPECT_TRUE(metadata["artist"].is_null());
    const Json artwork{{"width", 90},
                       {"height", 60},
                       {"format", "PNG"},
                       {"sha256", ffmpegHash(cover, "-f rawvideo -pix_fmt rgba")}};
    EXPECT_EQ(metadata["artwork"], artwork);
}

TEST(Inspect, loadPrintsTheTextsOfAnError) {
    const test::TemporaryFolder folder;
    const auto text = folder.path() / "text.mp4";
    std::ofstream(text) << "no film";
    const auto refused = inspect("load", text);
    EXPECT_EQ(refused.status, 1);
    const Json error = refused.json()["error"];
    EXPECT_EQ(error["case"], "failedToOpenURL");
    EXPECT_EQ(error["errorDescription"], "Unable to open the file.");
    EXPECT_EQ(error["failureReason"], "Invalid data found when processing input");
    EXPECT_TRUE(error["recoverySuggestion"].is_null());
}

TEST(Inspect, framesHaveTheHashesOfFFmpegFromAnyStart) {
    const auto whole = inspect("frames", twoTrackClip()).lines();
    std::string hashes;
    for (const auto& line : whole) {
        hashes += line["sha256"].get<std::string>() + "\n";
        EXPECT_EQ(line["pixelFormat"], "y420");
    }
    EXPECT_EQ(hashes, ffmpegOutput(twoTrackClip(), "-map 0:v:0 -f framehash -hash sha256 - | "
                                                   "grep -v '^#' | sed 's/.*, *//'"));
    const auto part = inspect("frames", twoTrackClip(), "--from 1.3 --count 3").lines();
    ASSERT_EQ(part.size(), 3U);
    for (std::size_t i = 0; i < part.size(); ++i) {
        EXPECT_EQ(part[i], whole.at(32 + i)) << "frame " << 32 + i << " begins before 1.3 s";
    }
}

TEST(Inspect, audioWritesTheSamplesOfATrack) {
    const test::TemporaryFolder folder;
    const auto pcm = folder.path() / "samples";
    const auto audio = inspect("audio", twoTrackClip(), "--track 2 --pcm '" + pcm.string() + "'");
    ASSERT_EQ(audio.status, 0);
    EXPECT_EQ(audio.lines()[0]["sampleRate"], 48000.0);
    EXPECT_EQ(test::bytesOf(pcm), ffmpegOutput(twoTrackClip(), "-map 0:2 -f s16le -"));
}

TEST(Inspect, subtitlesPrintStylesAndLostFrames) {
    const test::TemporaryFolder folder;
    const auto script = folder.path() / "script.ass";
    std::ofstream(script) << "[Script Info]\nPlayResX: 640\nPlayResY: 360\n[V4+ Styles]\n"
                             "Format: Name, Fontsize, PrimaryColour, Alignment, MarginV\n"
                             "Style: Default,18,&H000000FF,7,4\n[Events]\n"
                             "Format: Layer, Start, End, Style, Text\n"
                             "Dialogue: 0,0:00:01.50,0:00:03.00,Default,plain {\\i1}slanted\n"
                             "Dialogue: 0,0:00:04.00,0:00:05.00,Default,{\\b1\n";
    const auto shown = inspect("subtitles", script);
    ASSERT_EQ(shown.status, 0);
    ASSERT_EQ(shown.lines().size(), 1U);
    const Json frame = shown.lines()[0];
    EXPECT_EQ(frame["start"], 1.5);
    EXPECT_EQ(frame["end"], 3.0);
    EXPECT_EQ(frame["kind"], "formattedText");
    const Json& item = frame["items"][0];
    EXPECT_EQ(item["text"], "plain slanted");
    EXPECT_EQ(item["runs"][1]["text"], "slanted");
    EXPECT_EQ(item["runs"][1]["font"]["italic"], true);
    EXPECT_EQ(item["runs"][1]["color"], "#ff0000ff");
    EXPECT_EQ(item["style"]["alignment"], "left");
    EXPECT_EQ(item["style"]["percentOfVideoHeight"], 5.0);

    const auto lost = run("{ " ZELVANE_INSPECT " subtitles '" + script.string() +
                          "' 2>&1 >/dev/null | grep '^{'; }");
    EXPECT_EQ(lost.json(),
              (Json{{"lost", "Invalid data found when processing input"}, {"start", 4.0}}));
}

TEST(Inspect, subtitlesPrintATrackOrBitmaps) {
    const test::TemporaryFolder folder;
    for (const std::string name : {"first", "second"}) {
        std::ofstream(folder.path() / (name + ".srt")) << "1\n00:00:01,000 --> 00:00:02,000\n"
                                                       << name << "\n";
    }
    const auto clip = folder.path() / "two.mkv";
    run("ffmpeg -v error -i '" + (folder.path() / "first.srt").string() + "' -i '" +
        (folder.path() / "second.srt").string() + "' -map 0 -map 1 -c copy '" + clip.string() +
        "'");
    EXPECT_EQ(inspect("subtitles", clip).json()["items"][0]["text"], "first");
    EXPECT_EQ(inspect("subtitles", clip, "--track 1").json()["items"][0]["text"], "second");
    EXPECT_EQ(inspect("subtitles", clip, "--track 2").status, 1);

    ZELVANE_NEEDS_SHARED_MEDIA(media);
    const auto pictures =
        inspect("subtitles", media / "subtitles/embedded/subtitleedit_sample_XSUB.avi");
    ASSERT_FALSE(pictures.lines().empty());
    for (const Json& frame : pictures.lines()) {
        EXPECT_EQ(frame["kind"], "images");
        EXPECT_GT(frame["images"][0]["w"], 0);
        EXPECT_EQ(frame["images"][0]["sha256"].get<std::string>().size(), 64U);
    }
}

TEST(Inspect, playCountsEachFrame) {
    const auto played = inspect("play", twoTrackClip(), "--rate 2");
    ASSERT_EQ(played.status, 0);
    const Json report = played.json();
    const int frames = report["framesShown"].get<int>() + report["framesDropped"].get<int>();
    EXPECT_GE(frames, 50);
    EXPECT_LE(frames, 52) << "each of the two tracks may show the first frame again";
    EXPECT_GE(report["wallSeconds"].get<double>(), 1.0);
    EXPECT_GT(report["peakMemory"].get<double>(), 0);
}

TEST(Inspect, decodeCountsFramesAndSamples) {
    const auto decoded = inspect("decode", twoTrackClip());
    ASSERT_EQ(decoded.status, 0);
    EXPECT_EQ(decoded.json()["videoFrames"], 50);
    // The default track is the English one: 48 kHz for two seconds.
    EXPECT_EQ(decoded.json()["audioFrames"], 96000);
}

/// Skips the test, visibly, in a build without Qt, which draws the subtitles.
#ifdef ZELVANE_DESKTOP
#define ZELVANE_NEEDS_DESKTOP()
#else
#define ZELVANE_NEEDS_DESKTOP() GTEST_SKIP() << "SKIPPED: built without the desktop"
#endif

/// A grey film (0x404040) with two subtitle tracks, visible from 1 s to 2 s.
std::filesystem::path filmWithTwoSubtitles(const std::filesystem::path& folder) {
    const auto side = folder / "side.srt";
    std::ofstream(side) << "1\n00:00:01,000 --> 00:00:02,000\nA line of text\n";
    auto film = folder / "film.mkv";
    run("ffmpeg -v error -f lavfi -i color=0x404040:s=64x36:r=25:d=3 -i '" + side.string() +
        "' -map 0 -map 1 -map 1 -c:v ffv1 -c:s srt '" + film.string() + "'");
    return film;
}

/// The thirds of the picture, from top to bottom, with white letters: "T", else "-".
std::string thirdsWithText(const std::filesystem::path& picture) {
    const auto pixels = ffmpegOutput(picture, "-f rawvideo -pix_fmt gray -");
    std::string written;
    for (std::size_t third = 0; third < 3; ++third) {
        const std::string part = pixels.substr(third * pixels.size() / 3, pixels.size() / 3);
        const bool hasLetters = std::any_of(part.begin(), part.end(), [](char value) {
            return static_cast<unsigned char>(value) > 200;
        });
        written += hasLetters ? "T" : "-";
    }
    return written;
}

TEST(Inspect, pictureWritesWhatTheWindowShows) {
    ZELVANE_NEEDS_DESKTOP();
    const test::TemporaryFolder folder;
    const auto film = filmWithTwoSubtitles(folder.path());
    const auto out = folder.path() / "out.png";
    const std::string side = " --external '" + (folder.path() / "side.srt").string() + "'";
    const struct {
        std::string options;
        std::string written;
    } cases[] = {
        {"--at 1.5 --size 640x360", "640x360:---"},
        {"--at 1.5 --size 640x360 --primary 1", "640x360:--T"},
        {"--at 1.5 --size 640x360 --primary 1 --secondary 2", "640x360:T-T"},
        {"--at 0.5 --size 640x360 --primary 1 --secondary 2", "640x360:---"},
        {"--at 2.5 --size 640x360 --primary 1 --secondary 2", "640x360:---"},
        {"--at 1.5 --size 320x200 --secondary 3" + side, "320x200:T--"},
        // The film covers only the middle third of a tall picture.
        {"--at 1.5 --size 320x540 --primary 2", "320x540:-T-"},
    };
    for (const auto& [options, written] : cases) {
        const auto answer = inspect("picture", film, options + " -o '" + out.string() + "'");
        ASSERT_EQ(answer.status, 0) << options;
        const Json json = answer.json();
        SCOPED_TRACE(json.dump());
        EXPECT_EQ(fmt::format("{}x{}:", json["width"].get<int>(), json["height"].get<int>()) +
                      thirdsWithText(out),
                  written)
            << options;
    }
    EXPECT_EQ(ffmpegOutput(out, "-vf crop=1:1:160:190 -f rawvideo -pix_fmt rgb24 -"), "@@@");
}

TEST(Inspect, pictureRejectsInvalidOptions) {
    ZELVANE_NEEDS_DESKTOP();
    const test::TemporaryFolder folder;
    const auto film = filmWithTwoSubtitles(folder.path());
    const std::string out = " -o '" + (folder.path() / "out.png").string() + "'";
    const std::string valid = "--at 1 --size 640x360";
    for (const std::string& options :
         {valid, "--size 640x360" + out, "--at 1" + out, "--at 1 --size 640" + out,
          "--at 1 --size 0x360" + out, "--at 1 --size 640x360y" + out}) {
        EXPECT_EQ(inspect("picture", film, options).status, 2) << options;
    }
    for (const std::string& option :
         {" --primary 0" + out, " --primary 3" + out, std::string(" -o /no/such/folder/out.png"),
          " --external /no/such/file.srt" + out}) {
        EXPECT_EQ(inspect("picture", film, valid + option).status, 1) << option;
    }
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "out.png"));
}

TEST(Inspect, onlyAnInvalidCommandLineGetsTheUsageText) {
    const auto song = test::madeClip("inspect-tone.wav", test::lavfi("sine=d=1"));
    const auto printed = [&](const std::string& words) {
        const std::string file = " '" + song.string() + "' ";
        const auto space = words.find(' ');
        return run("{ " ZELVANE_INSPECT " " + words.substr(0, space) + file + words.substr(space) +
                   " 2>&1 >/dev/null; }");
    };
    for (const std::string words :
         {"audio --track 0 --nonsense 1", "audio --track x", "audio --count", "seek ", "dance "}) {
        const auto output = printed(words);
        EXPECT_EQ(output.status, 2) << words;
        EXPECT_NE(output.text.find("Usage: "), std::string::npos) << words;
    }
    const std::pair<std::string, std::string> unserved[] = {
        {"frames ", "the file has no video track"},
        {"frames --track 0", "stream 0 is not a track of type video"},
        {"audio --track 7", "stream 7 is not a track of type audio"},
        {"subtitles ", "the file has no subtitles track"},
    };
    for (const auto& [words, text] : unserved) {
        const auto output = printed(words);
        EXPECT_EQ(output.status, 1) << words;
        EXPECT_EQ(output.text, "zelvane-inspect: " + text + "\n");
    }
}

} // namespace
} // namespace zelvane
