// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/sound_seeking.h"

#include <algorithm>
#include <utility>

#include "core_media/ffmpeg_time.h"
#include "media_player/media_source/probing.h"
#include "media_player/media_source/stepping_back.h"

namespace zelvane {
namespace {

/// The longest distance in time at which containers store sound before or after its pictures.
constexpr CMTime kLongestInterleaving(10, 1);

/// Negative when there is none.
int firstPictureStream(const AVFormatContext& context) {
    for (unsigned index = 0; index < context.nb_streams; ++index) {
        const AVStream& stream = *context.streams[index];
        if (stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO &&
            (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) == 0) {
            return static_cast<int>(index);
        }
    }
    return -1;
}

/// One seek of a sound's context.
class SoundSeek {
  public:
    SoundSeek(AVFormatContext& context, const std::shared_ptr<AudioTrack>& track,
              const CMTime& start, const CMTime& time)
        : context_(context), track_(track), start_(start), time_(time),
          ownStream_(static_cast<int>(track->streamIndex())),
          pictureStream_(firstPictureStream(context)),
          earliest_(std::max(time - kSoundPreroll, start)) {}

    std::vector<PacketRef> run();

  private:
    bool isFoundByOwnIndex() const;
    void stepBackByOwnIndex();
    bool stepBackByPictures();
    bool attempt(int stream, const CMTime& from);
    PacketRef readSound(int stream);
    bool isNear() const;
    std::optional<CMTime> timeOf(const AVPacket& packet) const;

    AVFormatContext& context_;
    const std::shared_ptr<AudioTrack>& track_;
    CMTime start_;
    CMTime time_;
    int ownStream_;
    /// Negative without pictures.
    int pictureStream_;
    /// When the first packet has to be shown.
    CMTime earliest_;
    PacketSource::CollectedPackets collected_;
    /// The time of the first picture after the latest attempt's seek.
    std::optional<CMTime> landing_;
};

std::vector<PacketRef> SoundSeek::run() {
    // The pictures' index does not reach sound before its first key frame.
    if (isFoundByOwnIndex() || (!stepBackByPictures() && landing_ > earliest_)) {
        stepBackByOwnIndex();
    }
    return collected_.empty() ? std::vector<PacketRef>() : std::move(collected_.front().second);
}

/// Without an index of the sound, a demuxer reads from its last known position to the target,
/// however far that is; the pictures' index gives a near position. In MPEG streams a position may
/// be inside a frame of sound, so it must be well before the target.
bool SoundSeek::isFoundByOwnIndex() const {
    constexpr CMTime kLongestGap(1, 1);
    return pictureStream_ < 0 || isMovieFile(context_) ||
           (!isMPEGStream(context_) && isIndexed(earliest_, kLongestGap, *track_, context_));
}

void SoundSeek::stepBackByOwnIndex() {
    stepBackUntil(earliest_, start_,
                  [this](const CMTime& from) { return attempt(ownStream_, from) || !isNear(); });
}

/// Returns whether the sound is found, or is known to be missing.
bool SoundSeek::stepBackByPictures() {
    bool isDone = false;
    stepBackUntil(earliest_, start_, [&](const CMTime& from) {
        const bool isFound = attempt(pictureStream_, from);
        isDone = isFound || (landing_ <= from && !isNear());
        return isDone || landing_ > from;
    });
    return isDone;
}

/// Whether the packets collected begin early enough.
bool SoundSeek::attempt(int stream, const CMTime& from) {
    setEnabledStreams({ownStream_, stream}, context_);
    if (from <= start_) {
        seekToStart(context_, stream);
    } else {
        seek(context_, from, stream);
    }
    landing_.reset();
    const auto read = [&] { return readSound(stream); };
    collected_ = collectPackets(track_, {}, time_, read, kSoundPreroll);
    return beginsInTime(collected_, track_, earliest_);
}

/// The next packet of the sound; notes the first one of `stream` on the way.
PacketRef SoundSeek::readSound(int stream) {
    while (true) {
        auto packet = readPacket({ownStream_, landing_ ? ownStream_ : stream}, context_);
        if (!packet || packet->avPacket().stream_index == ownStream_) {
            return packet;
        }
        landing_ = timeOf(packet->avPacket());
    }
}

/// Whether the sound that was found begins so soon after the target that sound before the target
/// may be stored further back in the file.
bool SoundSeek::isNear() const {
    if (collected_.empty()) {
        return false;
    }
    const auto first = timeOf(collected_.front().second.front()->avPacket());
    return !first || *first <= time_ + kLongestInterleaving;
}

std::optional<CMTime> SoundSeek::timeOf(const AVPacket& packet) const {
    const std::int64_t stamp = packet.dts != AV_NOPTS_VALUE ? packet.dts : packet.pts;
    return timeFromStamp(stamp, context_.streams[packet.stream_index]->time_base);
}

} // namespace

std::vector<PacketRef> seekSound(AVFormatContext& context, const std::shared_ptr<AudioTrack>& track,
                                 const CMTime& start, const CMTime& time) {
    return SoundSeek(context, track, start, time).run();
}

} // namespace zelvane
