// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core_media/ffmpeg.h"
#include "core_media/video_dimensions.h"
#include "foundation/atomic.h"
#include "media_player/decoders/common/media_decoder.h"
#include "media_player/decoders/subtitles/subtitles_frame_decoder.h"
#include "media_player/media_source/media_characteristics.h"

namespace zelvane {

/// One stream of a container: its identity and what the user may know about it. Compared by
/// identity. All fields but the id are constant; any thread may read them.
class MediaTrack {
  public:
    /// The facts of a track, as values.
    struct Facts {
        std::uint32_t streamIndex = 0;
        AVRational streamTimeBase{0, 1};
        /// Canonical, in the stream's order.
        std::vector<std::string> languageCodes;
        std::optional<std::string> title;
        bool isForced = false;
        bool isDefault = false;
        MediaCharacteristics mediaCharacteristics;
    };

    virtual ~MediaTrack() = default;
    MediaTrack(const MediaTrack&) = delete;
    MediaTrack& operator=(const MediaTrack&) = delete;

    /// The media source's identifier, ".", the stream index.
    virtual std::string id() const { return id_.load(); }
    virtual void setID(std::string id) { id_.store(std::move(id)); }

    std::uint32_t streamIndex() const { return facts_.streamIndex; }
    AVRational streamTimeBase() const { return facts_.streamTimeBase; }
    const std::vector<std::string>& languageCodes() const { return facts_.languageCodes; }
    const std::optional<std::string>& title() const { return facts_.title; }
    bool isForced() const { return facts_.isForced; }
    bool isDefault() const { return facts_.isDefault; }
    MediaCharacteristics mediaCharacteristics() const { return facts_.mediaCharacteristics; }

  protected:
    MediaTrack(const std::string& mediaSourceID, Facts facts);
    /// A new track with the id and the facts of another.
    explicit MediaTrack(const MediaTrack* wrapped) : id_(wrapped->id()), facts_(wrapped->facts_) {}

  private:
    Atomic<std::string> id_;
    Facts facts_;
};

/// Reads the facts from a stream. A negative index stops the process.
MediaTrack::Facts mediaTrackFacts(const AVStream& stream);

class SubtitlesTrack;
class ExternalSubtitlesTrack;

class VideoTrack final : public MediaTrack {
  public:
    /// Throws FFmpegError for a stream that is not video, is an attached picture, or cannot be
    /// decoded.
    VideoTrack(const std::string& mediaSourceID, const AVStream& stream);
    VideoTrack(const std::string& mediaSourceID, Facts facts, VideoDimensions dimensions,
               std::optional<AVRational> frameRate,
               std::unique_ptr<CoreMediaCompatibleDecoder> decoder);

    const VideoDimensions& dimensions() const { return dimensions_; }
    std::optional<AVRational> frameRate() const { return frameRate_; }
    /// Subtitles carried inside the video stream.
    const std::vector<std::shared_ptr<SubtitlesTrack>>& embeddedSubtitlesTracks() const {
        return embeddedSubtitlesTracks_;
    }
    /// Used by the queue that feeds the video renderer only.
    CoreMediaCompatibleDecoder& decoder() const { return *decoder_; }

  private:
    struct Parts;
    VideoTrack(const std::string& mediaSourceID, const AVStream& stream, Parts parts);

    VideoDimensions dimensions_;
    std::optional<AVRational> frameRate_;
    std::vector<std::shared_ptr<SubtitlesTrack>> embeddedSubtitlesTracks_;
    std::unique_ptr<CoreMediaCompatibleDecoder> decoder_;
};

class AudioTrack final : public MediaTrack {
  public:
    AudioTrack(const std::string& mediaSourceID, const AVStream& stream,
               std::unique_ptr<CoreMediaCompatibleDecoder> decoder);
    AudioTrack(const std::string& mediaSourceID, Facts facts,
               std::unique_ptr<CoreMediaCompatibleDecoder> decoder);

    /// Used by the queue that feeds the audio renderer only.
    CoreMediaCompatibleDecoder& decoder() const { return *decoder_; }

  private:
    std::unique_ptr<CoreMediaCompatibleDecoder> decoder_;
};

class SubtitlesTrack : public MediaTrack {
  public:
    /// Throws FFmpegError for a stream that is not subtitles or cannot be decoded.
    SubtitlesTrack(const std::string& mediaSourceID, const AVStream& stream,
                   const std::shared_ptr<VideoTrack>& parentVideoTrack);
    SubtitlesTrack(const std::string& mediaSourceID, Facts facts,
                   std::unique_ptr<SubtitlesFrameDecoder> decoder);
    ~SubtitlesTrack() override;

    std::shared_ptr<VideoTrack> parentVideoTrack() const { return parentVideoTrack_.lock(); }
    /// Whether the track belongs to a side file.
    bool isExternal() const { return asExternal() != nullptr; }
    /// The same object, or null for a track of the media itself.
    virtual const ExternalSubtitlesTrack* asExternal() const { return nullptr; }
    /// Used by the queue that reads this track's packets only.
    SubtitlesFrameDecoder& decoder() const { return *decoder_; }

  protected:
    /// Shares the other's decoder.
    explicit SubtitlesTrack(const SubtitlesTrack* wrapped)
        : MediaTrack(wrapped), decoder_(wrapped->decoder_) {}

  private:
    std::weak_ptr<VideoTrack> parentVideoTrack_;
    std::shared_ptr<SubtitlesFrameDecoder> decoder_;
};

} // namespace zelvane
