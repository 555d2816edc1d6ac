// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/packet_reading.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "core_media/ffmpeg_error.h"
#include "core_media/ffmpeg_time.h"

namespace zelvane {
namespace {

/// More than nearly any GOP; what lies behind it is decoded as it is read.
constexpr std::size_t kMaxCollectedBytes = std::size_t{64} << 20;
/// No codec that is stored without presentation stamps holds a frame back for longer.
constexpr CMTime kLongestReorder(1, 2);

bool contains(const StreamIndexes& streamIndexes, unsigned streamIndex) {
    return std::find(streamIndexes.begin(), streamIndexes.end(), static_cast<int>(streamIndex)) !=
           streamIndexes.end();
}

/// Whether a stamp stays far enough within 64 bits when it becomes a time.
bool isUsable(std::int64_t stamp, AVRational timeBase) {
    constexpr std::int64_t kLimit = std::numeric_limits<std::int64_t>::max() / 2;
    const std::int64_t base = std::max(timeBase.num, 1);
    return stamp <= kLimit / base && stamp >= -kLimit / base;
}

/// A damaged packet may carry any stamp. One that cannot be a time must cost no more than itself.
void dropUnusableStamps(AVPacket& packet, AVRational timeBase) {
    for (std::int64_t* stamp : {&packet.pts, &packet.dts}) {
        if (!isUsable(*stamp, timeBase)) {
            *stamp = AV_NOPTS_VALUE;
        }
    }
    if (!isUsable(packet.duration, timeBase)) {
        packet.duration = 0;
    }
}

int readFrame(AVFormatContext& context, AVPacket& packet) {
    int status = av_read_frame(&context, &packet);
    while (status == AVERROR(EAGAIN)) {
        status = av_read_frame(&context, &packet);
    }
    return status;
}

int seekFrame(AVFormatContext& context, std::int64_t timestamp, int flags) {
    if (context.pb != nullptr) {
        // The library keeps an error of the disk for ever, tells it again in place of the end, and
        // takes it for the end where it moves by reading on.
        context.pb->error = 0;
        context.pb->eof_reached = 0;
    }
    return av_seek_frame(&context, -1, timestamp, flags);
}

/// What a demuxer answers when all that it could go to lies past the target: ERANGE from those that
/// seek by themselves, and a bare -1 from those that leave it to the index of the library.
bool mayLieBeforeTheIndex(const FFmpegError& error) {
    constexpr int kNotFoundInIndex = -1;
    return error.errorCase() == FFmpegError::Case::posixERANGE ||
           (error.errorCase() == FFmpegError::Case::other && error.payload() == kNotFoundInIndex);
}

std::vector<PacketRef>& packetsOf(const std::shared_ptr<MediaTrack>& track,
                                  PacketSource::CollectedPackets& collected) {
    const auto found =
        std::find_if(collected.begin(), collected.end(),
                     [&](const auto& trackPackets) { return trackPackets.first == track; });
    return found != collected.end()
               ? found->second
               : collected.emplace_back(track, std::vector<PacketRef>()).second;
}

StreamIndexes timedStreams(const AVFormatContext& context) {
    StreamIndexes indexes;
    for (unsigned index = 0; index < context.nb_streams; ++index) {
        if ((context.streams[index]->disposition & AV_DISPOSITION_ATTACHED_PIC) == 0) {
            indexes.push_back(static_cast<int>(index));
        }
    }
    return indexes;
}

/// Whether the context stands at its first byte now, and has something to read there.
bool movedToFirstByte(AVFormatContext& context) {
    return seekToFirstByte(context) && readPacket(timedStreams(context), context) != nullptr &&
           seekToFirstByte(context);
}

/// The key frame next to a time, by the index of its stream.
std::optional<CMTime> indexedKeyframe(const CMTime& time, int flags, const MediaTrack& track,
                                      AVFormatContext& context) {
    if (track.streamTimeBase().num == 0 || track.streamIndex() >= context.nb_streams) {
        return std::nullopt;
    }
    AVStream* const stream = context.streams[track.streamIndex()];
    const int index =
        av_index_search_timestamp(stream, stampFromTime(time, track.streamTimeBase()), flags);
    const AVIndexEntry* const entry = index < 0 ? nullptr : avformat_index_get_entry(stream, index);
    if (entry == nullptr || !isUsable(entry->timestamp, track.streamTimeBase())) {
        return std::nullopt;
    }
    return timeFromStamp(entry->timestamp, track.streamTimeBase());
}

/// Null when there is none.
const AVPacket* firstPacket(const PacketSource::CollectedPackets& collected,
                            const std::shared_ptr<MediaTrack>& anchor) {
    const auto found =
        std::find_if(collected.begin(), collected.end(),
                     [&](const auto& trackPackets) { return trackPackets.first == anchor; });
    return found == collected.end() || found->second.empty() ? nullptr
                                                             : &found->second.front()->avPacket();
}

} // namespace

void setEnabledStreams(const StreamIndexes& streamIndexes, AVFormatContext& context) {
    for (unsigned index = 0; index < context.nb_streams; ++index) {
        context.streams[index]->discard =
            contains(streamIndexes, index) ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
}

PacketRef readPacket(const StreamIndexes& streamIndexes, AVFormatContext& context) {
    setEnabledStreams(streamIndexes, context);
    ffmpeg::AVPacketHandle packet(checkedFFmpegAllocation(av_packet_alloc()));
    while (true) {
        const int status = readFrame(context, *packet);
        if (status == AVERROR_EOF) {
            return nullptr;
        }
        checkedFFmpegCall([&] { return status; });
        if (contains(streamIndexes, static_cast<unsigned>(packet->stream_index))) {
            dropUnusableStamps(*packet, context.streams[packet->stream_index]->time_base);
            return std::make_shared<const Packet>(std::move(packet));
        }
        av_packet_unref(packet.get());
    }
}

void seek(AVFormatContext& context, const CMTime& time) {
    const std::int64_t timestamp = containerStampFromTime(time);
    try {
        checkedFFmpegCall([&] { return seekFrame(context, timestamp, AVSEEK_FLAG_BACKWARD); },
                          {.retryOnEAGAIN = true});
    } catch (const FFmpegError& error) {
        if (!mayLieBeforeTheIndex(error)) {
            throw;
        }
        checkedFFmpegCall([&] { return seekFrame(context, timestamp, 0); },
                          {.retryOnEAGAIN = true});
    }
}

void seekToStart(AVFormatContext& context) {
    try {
        seek(context, kCMTimeZero);
    } catch (const FFmpegError&) {
        if (!movedToFirstByte(context)) {
            throw;
        }
    }
}

bool seekToFirstByte(AVFormatContext& context) {
    // Demuxers that leave seeking to the library hold no state that a plain move would break.
    return (context.iformat->flags & AVFMT_GENERIC_INDEX) != 0 &&
           seekFrame(context, 0, AVSEEK_FLAG_BYTE) >= 0;
}

std::optional<CMTime> keyframeTime(const CMTime& time, const MediaTrack& track,
                                   AVFormatContext& context) {
    return indexedKeyframe(time, AVSEEK_FLAG_BACKWARD, track, context);
}

bool isFreeOfKeyframes(const CMTime& from, const CMTime& to, const MediaTrack& track,
                       AVFormatContext& context) {
    constexpr int kForward = 0;
    const auto last = indexedKeyframe(to, AVSEEK_FLAG_BACKWARD, track, context);
    return last && *last <= from && indexedKeyframe(to, kForward, track, context);
}

std::optional<int> steeringStream(const std::vector<TrackKeyframe>& keyframes,
                                  const CMTime& target) {
    const CMTime threshold = target - CMTime(10, 1);
    const TrackKeyframe* earliest = nullptr;
    for (const TrackKeyframe& keyframe : keyframes) {
        if (keyframe.time && *keyframe.time >= threshold &&
            (earliest == nullptr || *keyframe.time < *earliest->time)) {
            earliest = &keyframe;
        }
    }
    return earliest == nullptr ? std::nullopt : std::optional(earliest->streamIndex);
}

std::shared_ptr<MediaTrack> trackOf(const Packet& packet, const MediaTracks& tracks) {
    const auto found = std::find_if(tracks.begin(), tracks.end(), [&](const auto& track) {
        return static_cast<int>(track->streamIndex()) == packet.avPacket().stream_index;
    });
    return found == tracks.end() ? nullptr : *found;
}

PacketSource::CollectedPackets collectPackets(const std::shared_ptr<MediaTrack>& anchor,
                                              const MediaTracks& others, const CMTime& target,
                                              const PacketReader& read, const CMTime& preroll) {
    PacketSource::CollectedPackets collected;
    std::size_t bytes = 0;
    while (const PacketRef packet = read()) {
        const AVPacket& avPacket = packet->avPacket();
        if (const auto other = trackOf(*packet, others)) {
            packetsOf(other, collected).push_back(packet);
            continue;
        }
        const auto time = timeFromStamp(avPacket.pts, anchor->streamTimeBase());
        auto& anchorPackets = packetsOf(anchor, collected);
        const bool isLast = !time || *time >= target;
        if (!isLast && (avPacket.flags & AV_PKT_FLAG_KEY) != 0 && *time + preroll <= target) {
            anchorPackets.clear();
            bytes = 0;
        }
        anchorPackets.push_back(packet);
        bytes += static_cast<std::size_t>(std::max(avPacket.size, 0));
        if (isLast || bytes >= kMaxCollectedBytes) {
            break;
        }
    }
    return collected;
}

bool beginsWithKeyframe(const PacketSource::CollectedPackets& collected,
                        const std::shared_ptr<MediaTrack>& anchor) {
    const AVPacket* const first = firstPacket(collected, anchor);
    return first != nullptr && (first->flags & AV_PKT_FLAG_KEY) != 0;
}

bool beginsInTime(const PacketSource::CollectedPackets& collected,
                  const std::shared_ptr<MediaTrack>& anchor, const CMTime& target) {
    if (!beginsWithKeyframe(collected, anchor)) {
        return false;
    }
    const AVPacket& first = *firstPacket(collected, anchor);
    const auto shown = timeFromStamp(first.pts, anchor->streamTimeBase());
    const auto decoded = timeFromStamp(first.dts, anchor->streamTimeBase());
    // What says nothing of its time has to be believed.
    return shown ? *shown <= target : !decoded || *decoded + kLongestReorder <= target;
}

} // namespace zelvane
