// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/packet_reading.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "core_media/ffmpeg_error.h"
#include "core_media/ffmpeg_time.h"
#include "media_player/media_source/probing.h"

namespace zelvane {
namespace {

/// More than nearly any GOP. Later packets are decoded as they are read.
constexpr std::size_t kMaxCollectedBytes = std::size_t{64} << 20;
/// Codecs that are stored without presentation stamps delay frames by no more than this.
constexpr CMTime kLongestReorder(1, 2);

bool contains(const StreamIndexes& streamIndexes, unsigned streamIndex) {
    return std::find(streamIndexes.begin(), streamIndexes.end(), static_cast<int>(streamIndex)) !=
           streamIndexes.end();
}

/// Returns whether a stamp can be converted to a time without overflow.
bool isUsable(std::int64_t stamp, AVRational timeBase) {
    constexpr std::int64_t kLimit = std::numeric_limits<std::int64_t>::max() / 2;
    const std::int64_t base = std::max(timeBase.num, 1);
    return stamp <= kLimit / base && stamp >= -kLimit / base;
}

/// A damaged packet may have any stamp. Drop only the stamps that cannot be a time.
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

int seekFrame(AVFormatContext& context, int streamIndex, std::int64_t timestamp, int flags) {
    if (context.pb != nullptr) {
        // The library keeps a read error: it returns the error again at the end of the file, and
        // treats it as the end where it seeks by reading.
        context.pb->error = 0;
        context.pb->eof_reached = 0;
    }
    return av_seek_frame(&context, streamIndex, timestamp, flags);
}

/// Demuxers report a target before their first index entry as ERANGE when they seek themselves, and
/// as -1 when the library seeks by its index.
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

/// Moves to the first byte. Returns whether there are packets to read.
bool movedToFirstByte(AVFormatContext& context) {
    return seekToFirstByte(context) && readPacket(timedStreams(context), context) != nullptr &&
           seekToFirstByte(context);
}

/// The key frame nearest to a time in one direction, by the index of its stream.
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

/// Zero, or the stream's first index entry if that is earlier.
CMTime startOf(int streamIndex, const AVFormatContext& context) {
    if (streamIndex == kDefaultStream) {
        return kCMTimeZero;
    }
    AVStream* const stream = context.streams[streamIndex];
    const AVIndexEntry* const first = avformat_index_get_entry(stream, 0);
    if (first == nullptr || !isUsable(first->timestamp, stream->time_base)) {
        return kCMTimeZero;
    }
    return std::min(kCMTimeZero,
                    timeFromStamp(first->timestamp, stream->time_base).value_or(kCMTimeZero));
}

void seekByStream(AVFormatContext& context, const CMTime& time, int streamIndex) {
    const std::int64_t timestamp =
        streamIndex == kDefaultStream
            ? containerStampFromTime(time)
            : stampFromTime(time, context.streams[streamIndex]->time_base);
    const auto seekWith = [&](int flags) {
        checkedFFmpegCall([&] { return seekFrame(context, streamIndex, timestamp, flags); },
                          {.retryOnEAGAIN = true});
    };
    try {
        seekWith(AVSEEK_FLAG_BACKWARD);
    } catch (const FFmpegError& error) {
        if (!mayLieBeforeTheIndex(error)) {
            throw;
        }
        seekWith(0);
    }
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

void seek(AVFormatContext& context, const CMTime& time, int streamIndex) {
    try {
        seekByStream(context, time, streamIndex);
    } catch (const FFmpegError&) {
        if (streamIndex == kDefaultStream) {
            throw;
        }
        // An index may have no key packets of a stream, though each of its packets is one.
        seekByStream(context, time, kDefaultStream);
    }
}

int indexedStream(AVMediaType mediaType, const AVFormatContext& context) {
    for (unsigned index = 0; index < context.nb_streams; ++index) {
        const AVStream* const stream = context.streams[index];
        if (stream->codecpar->codec_type == mediaType && stream->time_base.num > 0 &&
            (stream->disposition & AV_DISPOSITION_ATTACHED_PIC) == 0 &&
            avformat_index_get_entries_count(stream) > 0) {
            return static_cast<int>(index);
        }
    }
    return kDefaultStream;
}

void seekToStart(AVFormatContext& context, int streamIndex) {
    // Their stamps can restart in the middle of the file, and sound can precede the first picture.
    if (isMPEGStream(context) && seekFrame(context, kDefaultStream, 0, AVSEEK_FLAG_BYTE) >= 0) {
        return;
    }
    try {
        seek(context, startOf(streamIndex, context), streamIndex);
    } catch (const FFmpegError&) {
        if (!movedToFirstByte(context)) {
            throw;
        }
    }
}

bool seekToFirstByte(AVFormatContext& context) {
    // Demuxers for which the library seeks have no state that depends on the position.
    return (context.iformat->flags & AVFMT_GENERIC_INDEX) != 0 &&
           seekFrame(context, kDefaultStream, 0, AVSEEK_FLAG_BYTE) >= 0;
}

std::optional<CMTime> keyframeTime(const CMTime& time, const MediaTrack& track,
                                   AVFormatContext& context) {
    return indexedKeyframe(time, AVSEEK_FLAG_BACKWARD, track, context);
}

bool isIndexed(const CMTime& time, const CMTime& longestGap, const MediaTrack& track,
               AVFormatContext& context) {
    constexpr int kForward = 0;
    const auto before = indexedKeyframe(time, AVSEEK_FLAG_BACKWARD, track, context);
    return before && *before + longestGap >= time &&
           indexedKeyframe(time, kForward, track, context);
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
    // Accept a packet that has no stamps.
    return shown ? *shown <= target : !decoded || *decoded + kLongestReorder <= target;
}

} // namespace zelvane
