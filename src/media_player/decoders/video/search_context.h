// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <deque>
#include <functional>
#include <optional>

#include "core_media/ffmpeg_handles.h"
#include "media_player/decoders/common/packet.h"

namespace zelvane {

/// A decoder context for playing, and while a seek searches for its picture a second one that may
/// use all processors: the clock is stopped then, and nothing else needs them. The playing context
/// takes over where it can start cleanly, and the frames that come out are those of one context.
/// Used by one queue at a time.
///
///     playing -- beginSearch --> searching -- endSearch --> awaiting key
///        ^                                                       | a clean key packet
///        +---- draining <---- a packet shown after the key ---- overlapping
///
/// The playing context decodes the key packet and the packets shown before it a second time, and
/// gives the frames from the key packet on; the search context gives those before it.
class SearchContext {
  public:
    using Maker = std::function<ffmpeg::CodecContext()>;

    /// `playing` outlives this. `makeSearchContext` makes an open context for the same stream.
    SearchContext(AVCodecContext& playing, Maker makeSearchContext)
        : playing_(playing), makeSearchContext_(std::move(makeSearchContext)) {}

    /// As the functions of these names in ffmpeg_decoding.h.
    bool startDecoding(const Packet& packet);
    bool dequeue(AVFrame& frame);
    /// Drops all state; playing goes on.
    void flush();
    /// Directly after a flush. Where no context can be made, the playing one searches.
    void beginSearch();
    void endSearch();
    /// The context to which the next packet is given.
    AVCodecContext& active() const { return search_ ? *search_ : playing_; }

  private:
    enum class State { playing, searching, awaitingKey, overlapping, draining };

    bool feedSearch(const Packet& packet);
    bool beginDraining();
    bool replay();
    bool startsCleanly(const AVPacket& key);
    bool hasFrameAt(std::int64_t stamp);
    bool isForOther(const AVFrame& frame) const;

    AVCodecContext& playing_;
    Maker makeSearchContext_;
    State state_ = State::playing;
    /// Null while the playing context alone is in use.
    ffmpeg::CodecContext search_;
    /// Whether the search context had no frame when it was asked last.
    bool isEmptied_ = false;
    /// The packets from the key packet on, until the playing context has taken them.
    std::deque<ffmpeg::AVPacketHandle> kept_;
    /// Of the key packet; none once the playing context has given its frame.
    std::optional<std::int64_t> keyStamp_;
};

} // namespace zelvane
