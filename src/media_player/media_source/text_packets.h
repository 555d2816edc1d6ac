// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "media_player/decoders/common/packet.h"

namespace zelvane {

/// All packets of a file of subtitles text, in the order of their times. They lie end to end: a
/// demuxer takes four times their size to keep them. It seeks exactly too, where a demuxer misses
/// what began long before and has shorter ones behind it. Used by one queue at a time.
class TextPackets {
  public:
    /// With room for packets of that many bytes in all.
    explicit TextPackets(std::size_t capacity) { bytes_.reserve(capacity); }

    /// Keeps a copy. A packet without a time is left out.
    void append(const AVPacket& packet);
    /// To be called when all are there.
    void finish();
    bool isEmpty() const { return entries_.empty(); }

    /// The next packet; null behind the last. Throws FFmpegError when memory is short.
    PacketRef next();
    /// Moves to the first packet that begins at `stamp`, in the stream's time base, or later, and
    /// returns those before it that last beyond the stamp, or may, in order.
    std::vector<PacketRef> seek(std::int64_t stamp);

  private:
    struct Entry {
        std::int64_t start = 0;
        std::int64_t duration = 0;
        /// The latest end of this one and all before it.
        std::int64_t latestEnd = 0;
        std::uint32_t offset = 0;
        std::uint32_t size = 0;
    };
    /// The size of an entry whose packet bears more than its bytes: its offset is an index then.
    static constexpr std::uint32_t kWholePacket = UINT32_MAX;

    PacketRef packetOf(const Entry& entry) const;

    std::string bytes_;
    std::vector<Entry> entries_;
    std::vector<PacketRef> wholePackets_;
    std::size_t position_ = 0;
};

} // namespace zelvane
