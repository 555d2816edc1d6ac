// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <filesystem>
#include <memory>
#include <span>
#include <stdexcept>
#include <utility>
#include <vector>

#include "core_media/ffmpeg_error.h"
#include "core_media/ffmpeg_handles.h"
#include "media_player/decoders/common/packet.h"

namespace zelvane::test {

/// The first stream of a kind in a file, and its packets.
class DemuxedStream {
  public:
    DemuxedStream(const std::filesystem::path& path, AVMediaType mediaType) {
        AVFormatContext* opened = nullptr;
        checkedFFmpegCall(
            [&] { return avformat_open_input(&opened, path.c_str(), nullptr, nullptr); });
        context_.reset(opened);
        checkedFFmpegCall([&] { return avformat_find_stream_info(context_.get(), nullptr); });
        const auto isWanted = [&](const AVStream* stream) {
            return stream->codecpar->codec_type == mediaType;
        };
        const auto streams = std::span(context_->streams, context_->nb_streams);
        const auto found = std::find_if(streams.begin(), streams.end(), isWanted);
        if (found == streams.end()) {
            throw std::runtime_error("no such stream in " + path.string());
        }
        index_ = static_cast<int>(found - streams.begin());
    }

    AVStream& stream() const { return *context_->streams[index_]; }

    /// The next packet of the stream; null at the end.
    PacketRef next() const {
        while (true) {
            ffmpeg::AVPacketHandle packet(checkedFFmpegAllocation(av_packet_alloc()));
            if (av_read_frame(context_.get(), packet.get()) < 0) {
                return nullptr;
            }
            if (packet->stream_index == index_) {
                return std::make_shared<const Packet>(std::move(packet));
            }
        }
    }

    /// The rest of the stream's packets.
    std::vector<PacketRef> packets() const {
        std::vector<PacketRef> packets;
        while (auto packet = next()) {
            packets.push_back(std::move(packet));
        }
        return packets;
    }

  private:
    ffmpeg::InputContext context_;
    int index_ = 0;
};

} // namespace zelvane::test
