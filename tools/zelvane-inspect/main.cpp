// SPDX-License-Identifier: GPL-3.0-or-later
//
// Runs the engine on a terminal, for bug reports and tests, and prints JSON about what was loaded,
// decoded and played.

#include <cstdio>
#include <exception>
#include <functional>
#include <map>
#include <string>

#include <fmt/format.h>

#include "commands.h"
#include "core_media/ffmpeg_log.h"
#include "core_media/ffmpeg_memory.h"
#include "foundation/heap.h"
#include "json_text.h"

namespace zelvane::inspect {
namespace {

constexpr const char* kUsage =
    "Usage: zelvane-inspect COMMAND FILE [OPTION VALUE]...\n"
    "  load FILE [--external SIDE]\n"
    "  frames FILE [--track N] [--from S] [--count N]\n"
    "  audio FILE [--track N] [--from S] [--count N] [--pcm OUT]\n"
    "  subtitles FILE [--track N] [--external SIDE] [--user-style]\n"
    "  decode FILE\n"
    "  play FILE [--audio null|pulse] [--video null|window] [--rate R] [--for S]\n"
    "  seek FILE --to S [--to S]...\n"
    "  picture FILE --at S --size WxH [--primary N] [--secondary N] [--external SIDE]... -o "
    "OUT.png\n"
    "N is a stream index; times are seconds from the media's start. --primary and --secondary "
    "show\n"
    "subtitles at the bottom and at the top. Tracks of side files are numbered after the file's\n"
    "last stream, in the order of the options.\n";

constexpr int kFailed = 1;
constexpr int kMisused = 2;

int run(int argc, char** argv) {
    const std::map<std::string, std::function<int(const Arguments&)>> commands{
        {"load", runLoad},           {"frames", runFrames},   {"audio", runAudio},
        {"decode", runDecode},       {"play", runPlay},       {"seek", runSeek},
        {"subtitles", runSubtitles}, {"picture", runPicture},
    };
    try {
        const Arguments arguments(argc, argv);
        const auto command = commands.find(arguments.command());
        if (command == commands.end()) {
            throw UsageError("no such command: " + arguments.command());
        }
        return command->second(arguments);
    } catch (const UsageError& error) {
        fmt::print(stderr, "zelvane-inspect: {}\n{}", error.what(), kUsage);
        return kMisused;
    } catch (const CommandError& error) {
        fmt::print(stderr, "zelvane-inspect: {}\n", error.what());
        return kFailed;
    } catch (const MediaSource::LoadError& error) {
        printLine(loadErrorJson(error));
        return kFailed;
    } catch (const Error& error) {
        fmt::print(stderr, "zelvane-inspect: {}\n", errorDescriptionText(error));
        return kFailed;
    }
}

} // namespace
} // namespace zelvane::inspect

int main(int argc, char** argv) {
    zelvane::keepHeapSmall();
    zelvane::quietFFmpegLog();
    zelvane::limitFFmpegAllocations();
    return zelvane::inspect::run(argc, argv);
}
