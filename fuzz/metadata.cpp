// SPDX-License-Identifier: GPL-3.0-or-later
//
// Decodes bytes as embedded artwork, and as tags with one "key=value" in each line.

#include <algorithm>
#include <string>

#include "core_media/ffmpeg_handles.h"
#include "core_media/image.h"
#include "fuzz/fuzz_target.h"
#include "media_player/media_source/optional_metadata.h"

namespace {

using namespace zelvane;

void decodePicture(fuzz::Bytes bytes) {
    const ffmpeg::AVPacketHandle packet(av_packet_alloc());
    if (packet != nullptr && av_new_packet(packet.get(), static_cast<int>(bytes.size())) >= 0) {
        std::copy(bytes.begin(), bytes.end(), packet->data);
        decodeImage(*packet);
    }
}

ffmpeg::Dictionary tags(std::string_view text) {
    AVDictionary* made = nullptr;
    while (!text.empty()) {
        const std::string line(text.substr(0, text.find('\n')));
        const auto equals = line.find('=');
        if (equals != std::string::npos) {
            av_dict_set(&made, line.substr(0, equals).c_str(), line.c_str() + equals + 1, 0);
        }
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return ffmpeg::Dictionary(made);
}

} // namespace

ZELVANE_FUZZ_TARGET(metadata, bytes) {
    decodePicture(bytes);
    const auto dictionary = tags({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    for (const auto mediaType : kAllMediaTypes) {
        const OptionalMetadata metadata(mediaType, dictionary.get(), nullptr);
    }
}
