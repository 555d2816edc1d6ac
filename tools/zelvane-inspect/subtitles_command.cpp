// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstdio>
#include <memory>
#include <span>

#include <fmt/format.h>

#include "commands.h"
#include "core_media/ffmpeg_error.h"
#include "core_media/ffmpeg_handles.h"
#include "media_player/decoders/subtitles/ffmpeg_subtitles_frame_decoder.h"
#include "side_file.h"
#include "subtitles_json.h"

namespace zelvane::inspect {
namespace {

constexpr int kFailed = 1;

std::span<AVStream* const> streamsOf(const AVFormatContext& context) {
    return {context.streams, context.nb_streams};
}

bool isSubtitles(const AVStream* stream) {
    return stream->codecpar->codec_type == AVMEDIA_TYPE_SUBTITLE;
}

AVStream& chosenStream(const AVFormatContext& context, const Arguments& arguments) {
    const auto index = arguments.number("track");
    const auto streams = streamsOf(context);
    const auto found = std::find_if(streams.begin(), streams.end(), [&](const AVStream* stream) {
        return isSubtitles(stream) && (!index || stream->index == *index);
    });
    if (found == streams.end()) {
        throw CommandError(index ? fmt::format("stream {} is not a track of type subtitles", *index)
                                 : std::string("the file has no subtitles track"));
    }
    return **found;
}

void discardOthers(const AVFormatContext& context, const AVStream& wanted) {
    for (AVStream* stream : streamsOf(context)) {
        stream->discard = stream == &wanted ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
}

/// Opened separately and read from the first packet: not every format can seek to it.
ffmpeg::InputContext openedFile(const std::string& file) {
    AVFormatContext* opened = nullptr;
    checkedFFmpegCall([&] { return avformat_open_input(&opened, file.c_str(), nullptr, nullptr); });
    ffmpeg::InputContext context(opened);
    checkedFFmpegCall([&] { return avformat_find_stream_info(context.get(), nullptr); });
    return context;
}

/// Reports a subtitle or a track that cannot be shown, with the reason and its start.
void printLost(const std::exception& error, const Json& start) {
    const Json json{{"lost", errorDescriptionText(error)}, {"start", start}};
    fmt::print(stderr, "{}\n", json.dump(-1, ' ', false, Json::error_handler_t::replace));
}

/// Null at the end of the file, also of a truncated one.
std::unique_ptr<Packet> readPacket(AVFormatContext& context) {
    ffmpeg::AVPacketHandle packet(checkedFFmpegAllocation(av_packet_alloc()));
    const int status = av_read_frame(&context, packet.get());
    if (status == AVERROR_EOF) {
        return nullptr;
    }
    checkedFFmpegCall([&] { return status; });
    return std::make_unique<Packet>(std::move(packet));
}

void printFrame(FFmpegSubtitlesFrameDecoder& decoder, const Packet& packet, AVRational timeBase) {
    try {
        if (const auto frame = decoder.dequeueFrame(packet)) {
            printLine(subtitlesFrameJson(*frame));
        }
    } catch (const Error& error) {
        const std::int64_t pts = packet.avPacket().pts;
        printLost(error, pts == AV_NOPTS_VALUE ? Json(nullptr) : Json(pts * av_q2d(timeBase)));
    }
}

void printFrames(AVFormatContext& context, const AVStream& stream) {
    FFmpegSubtitlesFrameDecoder decoder(stream);
    while (const auto packet = readPacket(context)) {
        if (packet->avPacket().stream_index == stream.index) {
            printFrame(decoder, *packet, stream.time_base);
        }
    }
    printFrame(decoder, Packet(), stream.time_base);
}

void printExternal(const Arguments& arguments) {
    readExternalSubtitles(
        arguments, {[](const SubtitlesFrame& frame) { printLine(subtitlesFrameJson(frame)); },
                    [](const std::exception& error, std::optional<double> start) {
                        printLost(error, start ? Json(*start) : Json(nullptr));
                    }});
}

void printEmbedded(const Arguments& arguments) {
    const auto context = openedFile(arguments.file());
    const AVStream& stream = chosenStream(*context, arguments);
    discardOthers(*context, stream);
    printFrames(*context, stream);
}

} // namespace

int runSubtitles(const Arguments& arguments) {
    arguments.allow({"track", "external", "user-style"});
    applyUserStyle(arguments);
    try {
        if (arguments.text("external")) {
            printExternal(arguments);
        } else {
            printEmbedded(arguments);
        }
    } catch (const MediaSource::LoadError&) {
        throw;
    } catch (const Error& error) {
        printLost(error, nullptr);
        return kFailed;
    }
    return 0;
}

} // namespace zelvane::inspect
