// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "media_player/decoders/common/packet.h"

namespace zelvane {

/// All packets of a file of subtitles text, in the order of their times. They are stored end to
/// end: a demuxer takes four times as much memory. Seeks are exact, where a demuxer misses a long
/// packet that is followed by shorter ones. Used by one queue at a time.
class TextPackets {
  public:
    /// Reserves memory for packets of that many bytes in total.
    explicit TextPackets(std::size_t capacity) { bytes_.reserve(capacity); }

    /// Stores a copy. Ignores a packet without a time.
    void append(const AVPacket& packet);
    /// Call after the last packet.
    void finish();
    bool isEmpty() const { return entries_.empty(); }

    /// The next packet; null after the last. Throws FFmpegError when memory is short.
    PacketRef next();
    /// Moves to the first packet that begins at `stamp`, in the stream's time base, or later.
    /// Returns the packets before it that last beyond the stamp, or may, in order.
    std::vector<PacketRef> seek(std::int64_t stamp);

  private:
    struct Entry {
        std::int64_t start = 0;
        std::int64_t duration = 0;
        /// The latest end of this entry and all before it.
        std::int64_t latestEnd = 0;
        std::uint32_t offset = 0;
        std::uint32_t size = 0;
    };
    /// The size of an entry whose packet has side data: its offset is an index into wholePackets_.
    static constexpr std::uint32_t kWholePacket = UINT32_MAX;

    PacketRef packetOf(const Entry& entry) const;

    std::string bytes_;
    std::vector<Entry> entries_;
    std::vector<PacketRef> wholePackets_;
    std::size_t position_ = 0;
};

} // namespace zelvane
