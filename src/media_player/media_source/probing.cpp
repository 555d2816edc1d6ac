// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/probing.h"

#include <string>
#include <string_view>

namespace zelvane {
namespace {

std::string namesOfOthers(bool (*isLeftOut)(const AVCodec&)) {
    std::string names;
    void* position = nullptr;
    while (const AVCodec* codec = av_codec_iterate(&position)) {
        if (av_codec_is_decoder(codec) != 0 && !isLeftOut(*codec)) {
            names += (names.empty() ? "" : ",") + std::string(codec->name);
        }
    }
    return names;
}

} // namespace

bool isMovieFile(const AVFormatContext& context) {
    const std::string_view name = context.iformat->name;
    return name.substr(0, name.find(',')) == "mov";
}

bool isMPEGStream(const AVFormatContext& context) {
    const std::string_view name = context.iformat->name;
    return name == "mpegts" || name == "mpeg";
}

bool leaveDecodersOut(AVFormatContext& context, bool (*isLeftOut)(const AVCodec&)) {
    context.codec_whitelist = av_strdup(namesOfOthers(isLeftOut).c_str());
    return context.codec_whitelist != nullptr;
}

void allowAllDecoders(AVFormatContext& context) {
    av_freep(static_cast<void*>(&context.codec_whitelist));
}

} // namespace zelvane
