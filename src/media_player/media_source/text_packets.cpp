// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/text_packets.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "core_media/ffmpeg_error.h"

namespace zelvane {
namespace {

/// For a packet without a duration, its start.
std::int64_t endOf(std::int64_t start, std::int64_t duration) {
    std::int64_t end = 0;
    const bool overflows = __builtin_add_overflow(start, std::max<std::int64_t>(duration, 0), &end);
    return overflows ? std::numeric_limits<std::int64_t>::max() : end;
}

} // namespace

void TextPackets::append(const AVPacket& packet) {
    if (packet.pts == AV_NOPTS_VALUE || packet.size < 0 ||
        bytes_.size() + static_cast<std::size_t>(packet.size) >= kWholePacket) {
        return;
    }
    Entry entry{.start = packet.pts, .duration = packet.duration};
    if (packet.side_data_elems > 0) {
        entry.size = kWholePacket;
        entry.offset = static_cast<std::uint32_t>(wholePackets_.size());
        wholePackets_.push_back(std::make_shared<const Packet>(
            ffmpeg::AVPacketHandle(checkedFFmpegAllocation(av_packet_clone(&packet)))));
    } else {
        entry.size = static_cast<std::uint32_t>(packet.size);
        entry.offset = static_cast<std::uint32_t>(bytes_.size());
        bytes_.append(reinterpret_cast<const char*>(packet.data), entry.size);
    }
    entries_.push_back(entry);
}

void TextPackets::finish() {
    std::stable_sort(entries_.begin(), entries_.end(),
                     [](const Entry& a, const Entry& b) { return a.start < b.start; });
    std::int64_t latestEnd = std::numeric_limits<std::int64_t>::min();
    for (Entry& entry : entries_) {
        latestEnd = std::max(latestEnd, endOf(entry.start, entry.duration));
        entry.latestEnd = latestEnd;
    }
    position_ = 0;
}

PacketRef TextPackets::next() {
    return position_ < entries_.size() ? packetOf(entries_[position_++]) : nullptr;
}

std::vector<PacketRef> TextPackets::seek(std::int64_t stamp) {
    const auto behind = std::partition_point(
        entries_.begin(), entries_.end(), [&](const Entry& entry) { return entry.start < stamp; });
    const auto first = std::partition_point(
        entries_.begin(), behind, [&](const Entry& entry) { return entry.latestEnd <= stamp; });
    std::vector<PacketRef> holding;
    for (auto entry = first; entry != behind; ++entry) {
        if (endOf(entry->start, entry->duration) > stamp) {
            holding.push_back(packetOf(*entry));
        }
    }
    // A packet without a duration is shown until the next begins.
    if (behind != entries_.begin() && std::prev(behind)->duration <= 0) {
        holding.push_back(packetOf(*std::prev(behind)));
    }
    position_ = static_cast<std::size_t>(behind - entries_.begin());
    return holding;
}

PacketRef TextPackets::packetOf(const Entry& entry) const {
    if (entry.size == kWholePacket) {
        return wholePackets_[entry.offset];
    }
    ffmpeg::AVPacketHandle packet(checkedFFmpegAllocation(av_packet_alloc()));
    checkedFFmpegCall([&] { return av_new_packet(packet.get(), static_cast<int>(entry.size)); });
    std::memcpy(packet->data, bytes_.data() + entry.offset, entry.size);
    packet->pts = entry.start;
    packet->dts = entry.start;
    packet->duration = entry.duration;
    packet->flags = AV_PKT_FLAG_KEY;
    return std::make_shared<const Packet>(std::move(packet));
}

} // namespace zelvane
