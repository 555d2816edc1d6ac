// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/media_track.h"

#include <array>
#include <cmath>
#include <cstring>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "core_media/ffmpeg_error.h"
#include "foundation/locale.h"
#include "foundation/log.h"
#include "foundation/text.h"
#include "media_player/decoders/audio/ffmpeg_audio_decoder.h"
#include "media_player/decoders/subtitles/ffmpeg_subtitles_frame_decoder.h"
#include "media_player/decoders/video/ffmpeg_video_decoder.h"

namespace zelvane {
namespace {

/// The trimmed value of a metadata entry; none when it is absent or blank.
std::optional<std::string> metadataText(const AVDictionary* metadata, const char* key) {
    const AVDictionaryEntry* entry = av_dict_get(metadata, key, nullptr, 0);
    if (entry == nullptr) {
        return std::nullopt;
    }
    const std::string_view text = trimmingWhitespace(entry->value);
    return text.empty() ? std::nullopt : std::optional<std::string>(text);
}

std::vector<std::string> languages(const AVDictionary* metadata) {
    const std::string list = metadataText(metadata, "language").value_or("");
    std::vector<std::string> codes;
    std::string_view rest = list;
    while (!rest.empty()) {
        const auto comma = rest.find(',');
        const std::string_view code = trimmingWhitespace(rest.substr(0, comma));
        if (!code.empty() && code != "und") {
            codes.push_back(canonicalLanguageIdentifier(code));
        }
        rest = comma == std::string_view::npos ? std::string_view() : rest.substr(comma + 1);
    }
    return codes;
}

std::optional<CGAffineTransform> displayTransform(const AVStream& stream) {
    const auto matrix = ffmpeg::streamSideData(stream, AV_PKT_DATA_DISPLAYMATRIX);
    std::array<std::int32_t, 9> m{};
    if (matrix.size() < sizeof(m)) {
        return std::nullopt;
    }
    std::memcpy(m.data(), matrix.data(), sizeof(m));
    const auto fixedPoint = [](std::int32_t value) { return value / 65536.0; };
    if (std::int64_t{m[0]} * m[4] == std::int64_t{m[1]} * m[3]) {
        logMessage("Ignoring a display matrix that leaves no area.");
        return std::nullopt;
    }
    return CGAffineTransform{fixedPoint(m[0]), fixedPoint(m[1]), fixedPoint(m[3]),
                             fixedPoint(m[4]), fixedPoint(m[6]), fixedPoint(m[7])};
}

VideoDimensions dimensionsOf(const AVCodecContext& decoder, const AVStream& stream) {
    if (decoder.width < 1 || decoder.height < 1) {
        // A stream without a picture size is not video that a player can show.
        throw FFmpegError::simple(FFmpegError::Case::unsupportedMediaType);
    }
    const AVRational aspect = decoder.sample_aspect_ratio;
    const double ratio = static_cast<double>(aspect.num) / aspect.den;
    const bool usable = ratio > 0 && std::isfinite(ratio);
    return {decoder.width, decoder.height, displayTransform(stream), usable ? ratio : 1.0};
}

std::optional<AVRational> frameRateOf(const AVCodecContext& decoder, const AVStream& stream) {
    const auto isRate = [](AVRational rate) { return rate.num != 0 && rate.den != 0; };
    if (isRate(decoder.framerate)) {
        return decoder.framerate;
    }
    // Most decoders know the frame rate only after the first picture; the demuxer has read some.
    // The function only reads the stream, in spite of its signature.
    auto* const probed = const_cast<AVStream*>(&stream);
    const AVRational guessed = av_guess_frame_rate(nullptr, probed, nullptr);
    return isRate(guessed) ? std::optional(guessed) : std::nullopt;
}

} // namespace

MediaTrack::Facts mediaTrackFacts(const AVStream& stream) {
    if (stream.index < 0) {
        fatalError("A stream has a negative index.");
    }
    MediaTrack::Facts facts;
    facts.streamIndex = static_cast<std::uint32_t>(stream.index);
    facts.streamTimeBase = stream.time_base;
    facts.languageCodes = languages(stream.metadata);
    facts.title = metadataText(stream.metadata, "title");
    facts.isForced = (stream.disposition & AV_DISPOSITION_FORCED) != 0;
    facts.isDefault = (stream.disposition & AV_DISPOSITION_DEFAULT) != 0;
    facts.mediaCharacteristics = mediaCharacteristicsFromDisposition(stream.disposition);
    return facts;
}

MediaTrack::MediaTrack(const std::string& mediaSourceID, Facts facts)
    : id_(fmt::format("{}.{}", mediaSourceID, facts.streamIndex)), facts_(std::move(facts)) {}

/// The facts of an open video decoder.
struct VideoTrack::Parts {
    static Parts of(const AVStream& stream) {
        if ((stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) {
            throw FFmpegError::simple(FFmpegError::Case::unsupportedMediaType);
        }
        auto decoder = std::make_unique<FFmpegVideoDecoder>(stream);
        const AVCodecContext& context = decoder->decoderContext();
        const VideoDimensions dimensions = dimensionsOf(context, stream);
        const auto frameRate = frameRateOf(context, stream);
        return {dimensions, frameRate, std::move(decoder)};
    }

    VideoDimensions dimensions;
    std::optional<AVRational> frameRate;
    std::unique_ptr<CoreMediaCompatibleDecoder> decoder;
};

VideoTrack::VideoTrack(const std::string& mediaSourceID, const AVStream& stream)
    : VideoTrack(mediaSourceID, stream, Parts::of(stream)) {}

VideoTrack::VideoTrack(const std::string& mediaSourceID, const AVStream& stream, Parts parts)
    : VideoTrack(mediaSourceID, mediaTrackFacts(stream), parts.dimensions, parts.frameRate,
                 std::move(parts.decoder)) {}

VideoTrack::VideoTrack(const std::string& mediaSourceID, Facts facts, VideoDimensions dimensions,
                       std::optional<AVRational> frameRate,
                       std::unique_ptr<CoreMediaCompatibleDecoder> decoder)
    : MediaTrack(mediaSourceID, std::move(facts)), dimensions_(dimensions), frameRate_(frameRate),
      decoder_(std::move(decoder)) {}

AudioTrack::AudioTrack(const std::string& mediaSourceID, const AVStream& stream,
                       std::unique_ptr<CoreMediaCompatibleDecoder> decoder)
    : AudioTrack(mediaSourceID, mediaTrackFacts(stream), std::move(decoder)) {}

AudioTrack::AudioTrack(const std::string& mediaSourceID, Facts facts,
                       std::unique_ptr<CoreMediaCompatibleDecoder> decoder)
    : MediaTrack(mediaSourceID, std::move(facts)), decoder_(std::move(decoder)) {}

SubtitlesTrack::SubtitlesTrack(const std::string& mediaSourceID, const AVStream& stream,
                               const std::shared_ptr<VideoTrack>& parentVideoTrack)
    : MediaTrack(mediaSourceID, mediaTrackFacts(stream)), parentVideoTrack_(parentVideoTrack),
      decoder_(std::make_shared<FFmpegSubtitlesFrameDecoder>(stream)) {}

SubtitlesTrack::SubtitlesTrack(const std::string& mediaSourceID, Facts facts,
                               std::unique_ptr<SubtitlesFrameDecoder> decoder)
    : MediaTrack(mediaSourceID, std::move(facts)), decoder_(std::move(decoder)) {}

SubtitlesTrack::~SubtitlesTrack() = default;

} // namespace zelvane
