// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/packet_text_encoding.h"

#include <map>
#include <string_view>

#include "foundation/log.h"
#include "media_player/media_source/packet_reading.h"
#include "media_player/media_source/text_encoding.h"

namespace zelvane {
namespace {

bool isTextOfUnknownEncoding(const AVCodecParameters& parameters) {
    const AVCodecDescriptor* const descriptor = avcodec_descriptor_get(parameters.codec_id);
    const bool isText = descriptor != nullptr && (descriptor->props & AV_CODEC_PROP_TEXT_SUB) != 0;
    // Timed text is UTF-8 or UTF-16 by its standard, and conversion would damage its binary styles.
    return isText && parameters.codec_id != AV_CODEC_ID_MOV_TEXT;
}

using Evidence = std::map<int, TextEncodingEvidence>;

bool add(const AVPacket& packet, TextEncodingEvidence& evidence) {
    // Keeps the last word of a packet apart from the first of the next.
    constexpr std::string_view kSeparator = "\n";
    const auto* const bytes = reinterpret_cast<const char*>(packet.data);
    return evidence.add({bytes, static_cast<std::size_t>(packet.size)}) && evidence.add(kSeparator);
}

void gather(Evidence& evidence, AVFormatContext& context) {
    StreamIndexes indexes;
    for (const auto& [index, ofStream] : evidence) {
        indexes.push_back(index);
    }
    try {
        while (const PacketRef packet = readPacket(indexes, context)) {
            const AVPacket& avPacket = packet->avPacket();
            if (!add(avPacket, evidence.at(avPacket.stream_index))) {
                logMessage(
                    "Failed to analyze next chunk of data for character encoding detection.");
                return;
            }
        }
    } catch (const Error& error) {
        logMessage("Failed to read external subtitles packet for character encoding detection: {}.",
                   errorDescriptionText(error));
    }
}

} // namespace

bool detectPacketEncodings(const SubtitlesTracks& tracks, AVFormatContext& context) {
    Evidence evidence;
    for (const auto& track : tracks) {
        if (isTextOfUnknownEncoding(*context.streams[track->streamIndex()]->codecpar)) {
            evidence[static_cast<int>(track->streamIndex())];
        }
    }
    if (evidence.empty()) {
        return false;
    }
    gather(evidence, context);
    for (const auto& track : tracks) {
        const auto found = evidence.find(static_cast<int>(track->streamIndex()));
        if (found != evidence.end()) {
            track->decoder().setCharacterEncoding(found->second.encoding());
        }
    }
    return true;
}

} // namespace zelvane
