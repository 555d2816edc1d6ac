// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/input_format_context.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <span>
#include <utility>

#include <sys/stat.h>

#include "core_media/ffmpeg_error.h"
#include "foundation/dispatch.h"
#include "foundation/host_clock.h"
#include "media_player/media_source/allowed_formats.h"
#include "media_player/media_source/picture_headers.h"
#include "media_player/media_source/probing.h"

namespace zelvane {
namespace {

std::string inputPath(const URL& url) {
    // The library expects the path of a file without escapes.
    return url.isFileURL() ? "file://" + url.path() : url.absoluteString();
}

/// Enough for the first pictures of each stream, whose order determines the start time.
constexpr std::int64_t kMaxBufferedBytes = std::int64_t{16} << 20;

/// About the time to decode a large picture. Opening a slow file once more would save nothing.
constexpr HostDuration kPictureTime = std::chrono::milliseconds(50);

template <class Call>
int repeatOnEAGAIN(Call&& call) {
    int status = call();
    while (status == AVERROR(EAGAIN)) {
        status = call();
    }
    return status;
}

/// Two demuxers cannot read one pipe or terminal, and opening one may block for ever.
bool isStream(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 &&
           (S_ISFIFO(status.st_mode) || S_ISCHR(status.st_mode));
}

/// Returns whether the header describes each video stream, so that probing need not decode
/// pictures. Other containers get their start time from the order of decoded pictures, or find
/// streams later.
bool knowsItsPictures(const AVFormatContext& context) {
    const auto streams = std::span(context.streams, context.nb_streams);
    return isMovieFile(context) &&
           std::all_of(streams.begin(), streams.end(), [](const AVStream* stream) {
               const AVCodecParameters& parameters = *stream->codecpar;
               return parameters.codec_type != AVMEDIA_TYPE_VIDEO || parameters.width > 0;
           });
}

/// A failure may be due to the decoders that were left out: probe again with all of them.
bool mustReprobeFully(const InputOpening& visual, const InputOpening& audio) {
    return audio.isPartial() && !visual.hasFailed() &&
           (audio.hasFailed() || !isSameContainer(visual.context(), audio.context()));
}

} // namespace

bool isSameContainer(const AVFormatContext& context, const AVFormatContext& other) {
    return context.start_time == other.start_time && context.duration == other.duration &&
           context.nb_streams == other.nb_streams;
}

InputOpening::InputOpening(const URL& url, Probing probing,
                           std::unique_ptr<MemoryInput> memoryInput,
                           const LoadInterruption& interruption)
    : path_(inputPath(url)), probing_(probing) {
    input_.watch_->interruption = interruption;
    openStatus_ = memoryInput == nullptr && isStream(url.path()) ? AVERROR(ESPIPE) : 0;
    input_.memoryInput_ = std::move(memoryInput);
}

/// A failed opening frees its context, so each attempt makes a new one.
int InputOpening::open(ffmpeg::InputContext& opened, AVIOContext* memory) {
    AVFormatContext* context = avformat_alloc_context();
    if (context == nullptr) {
        isOutOfMemory_ = true;
        return 0;
    }
    context->interrupt_callback = {didRead, input_.watch_.get()};
    // Complete knowledge of the streams matters more than the time to open.
    context->probesize = std::numeric_limits<std::int64_t>::max();
    context->pb = memory;
    if (!restrictToAllowedFormats(*context, path_)) {
        avformat_free_context(context);
        isOutOfMemory_ = true;
        return 0;
    }
    AVDictionary* options = singleFileOptions().release();
    const int status = avformat_open_input(&context, path_.c_str(), nullptr, &options);
    av_dict_free(&options);
    opened.reset(context);
    // The status for a format that is not allowed is EINVAL.
    return status == AVERROR(EINVAL) ? AVERROR_INVALIDDATA : status;
}

/// Probing may read a whole file, and buffers its packets unless a flag is set. Set the flag only
/// after some packets: without any, the first decoded picture is taken for the first one shown.
int InputOpening::didRead(void* watch) {
    const auto& state = *static_cast<InputFormatContext::Watch*>(watch);
    AVFormatContext* const probed = state.probed;
    if (probed != nullptr && probed->pb != nullptr && probed->pb->bytes_read > kMaxBufferedBytes) {
        probed->flags |= AVFMT_FLAG_NOBUFFER;
    }
    return state.isAbandoned || state.interruption.isRequested() ? 1 : 0;
}

int InputOpening::probe() {
    input_.watch_->probed = &*input_;
    const int status =
        repeatOnEAGAIN([this] { return avformat_find_stream_info(&*input_, nullptr); });
    input_.watch_->probed = nullptr;
    return status;
}

void InputOpening::run() noexcept {
    const HostTime begin = HostClock::system()->now();
    if (openStatus_ >= 0) {
        AVIOContext* const memory = input_.memoryInput_ ? input_.memoryInput_->context() : nullptr;
        openStatus_ = repeatOnEAGAIN([&] { return open(input_.context_, memory); });
    }
    if (hasFailed()) {
        return;
    }
    input_->max_analyze_duration = std::numeric_limits<std::int64_t>::max();
    leavePicturesOut();
    if (HostClock::system()->now() - begin < kPictureTime) {
        readPictureHeaders();
    }
    probeStatus_ = probe();
    allowAllDecoders(*input_);
}

void InputOpening::leavePicturesOut() {
    if (probing_ == Probing::withoutPictures && knowsItsPictures(*input_)) {
        isPartial_ = leaveDecodersOut(
            *input_, [](const AVCodec& codec) { return codec.type == AVMEDIA_TYPE_VIDEO; });
    }
}

/// By another demuxer: packets that this one reads before probing would be lost.
void InputOpening::readPictureHeaders() {
    ffmpeg::InputContext ahead;
    if (!isPartial_ && !input_.memoryInput_ && PictureHeaders::areWorthReading(*input_) &&
        open(ahead, nullptr) >= 0 && ahead != nullptr) {
        PictureHeaders(*ahead).applyTo(*input_);
    }
}

InputFormatContext InputOpening::makeInputFormatContext() && {
    checkedFFmpegAllocation(isOutOfMemory_ ? nullptr : this);
    checkedFFmpegCall([this] { return openStatus_; });
    checkedFFmpegCall([this] { return probeStatus_; });
    return std::move(input_);
}

InputFormatContext makeInputFormatContext(const URL& url, std::unique_ptr<MemoryInput> memoryInput,
                                          const LoadInterruption& interruption) {
    InputOpening opening(url, InputOpening::Probing::everything, std::move(memoryInput),
                         interruption);
    opening.run();
    return std::move(opening).makeInputFormatContext();
}

InputFormatContexts makeInputFormatContexts(const URL& url, const LoadInterruption& interruption) {
    InputOpening visual(url, InputOpening::Probing::everything, nullptr, interruption);
    InputOpening audio(url, InputOpening::Probing::withoutPictures, nullptr, interruption);
    const dispatch::Group openings;
    openings.enter();
    dispatch::globalQueue(dispatch::QualityOfService::userInitiated)->async([&audio, openings] {
        audio.run();
        openings.leave();
    });
    visual.run();
    if (visual.hasFailed()) {
        audio.abandon();
    }
    openings.wait();
    const bool readsAgain = mustReprobeFully(visual, audio);
    auto visualContext = std::move(visual).makeInputFormatContext();
    if (readsAgain) {
        return {std::move(visualContext), makeInputFormatContext(url, nullptr, interruption)};
    }
    return {std::move(visualContext), std::move(audio).makeInputFormatContext()};
}

} // namespace zelvane
