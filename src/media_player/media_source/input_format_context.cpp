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
#include "media_player/media_source/picture_headers.h"
#include "media_player/media_source/probing.h"

namespace zelvane {
namespace {

std::string inputPath(const URL& url) {
    // The library takes a file's path as it is, with no escapes.
    return url.isFileURL() ? "file://" + url.path() : url.absoluteString();
}

/// Enough for the first pictures of every stream, from whose order their start is known.
constexpr std::int64_t kMaxBufferedBytes = std::int64_t{16} << 20;

/// About what decoding a large picture takes. A file that takes as long to open is not opened once
/// more to save that.
constexpr HostDuration kPictureTime = std::chrono::milliseconds(50);

template <class Call>
int repeatOnEAGAIN(Call&& call) {
    int status = call();
    while (status == AVERROR(EAGAIN)) {
        status = call();
    }
    return status;
}

/// Pipes and terminals cannot be read by two demuxers, and opening one may wait for ever.
bool isStream(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 &&
           (S_ISFIFO(status.st_mode) || S_ISCHR(status.st_mode));
}

/// Whether the header tells of every picture stream what probing would decode pictures for. Other
/// containers take their start time from the order of decoded pictures, or find streams on the way.
bool knowsItsPictures(const AVFormatContext& context) {
    const auto streams = std::span(context.streams, context.nb_streams);
    return isMovieFile(context) &&
           std::all_of(streams.begin(), streams.end(), [](const AVStream* stream) {
               const AVCodecParameters& parameters = *stream->codecpar;
               return parameters.codec_type != AVMEDIA_TYPE_VIDEO || parameters.width > 0;
           });
}

/// Nobody would forgive a container refused for what was left out: all of it is read then.
bool needsAllAfterAll(const InputOpening& visual, const InputOpening& audio) {
    return audio.isPartial() && !visual.hasFailed() &&
           (audio.hasFailed() || !isSameContainer(visual.context(), audio.context()));
}

} // namespace

bool isSameContainer(const AVFormatContext& context, const AVFormatContext& other) {
    return context.start_time == other.start_time && context.duration == other.duration &&
           context.nb_streams == other.nb_streams;
}

InputOpening::InputOpening(const URL& url, Probing probing,
                           std::unique_ptr<MemoryInput> memoryInput)
    : path_(inputPath(url)), probing_(probing) {
    openStatus_ = memoryInput == nullptr && isStream(url.path()) ? AVERROR(ESPIPE) : 0;
    input_.memoryInput_ = std::move(memoryInput);
}

/// A failed opening frees its context, so each try makes a new one.
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
    const int status = avformat_open_input(&context, path_.c_str(), nullptr, nullptr);
    opened.reset(context);
    return status;
}

/// Probing may read a whole file, and what it reads stays in memory unless it is told otherwise. It
/// is told when it has seen enough: without any packets at hand it takes the first picture that is
/// decoded for the first one shown.
int InputOpening::didRead(void* watch) {
    const auto& state = *static_cast<InputFormatContext::Watch*>(watch);
    AVFormatContext* const probed = state.probed;
    if (probed != nullptr && probed->pb != nullptr && probed->pb->bytes_read > kMaxBufferedBytes) {
        probed->flags |= AVFMT_FLAG_NOBUFFER;
    }
    return state.isAbandoned ? 1 : 0;
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

/// By another demuxer: what this one reads before it is probed would be missing.
void InputOpening::readPictureHeaders() {
    ffmpeg::InputContext ahead;
    if (!isPartial_ && !input_.memoryInput_ && PictureHeaders::areWorthReading(*input_) &&
        open(ahead, nullptr) >= 0 && ahead != nullptr) {
        PictureHeaders(*ahead).tell(*input_);
    }
}

InputFormatContext InputOpening::makeInputFormatContext() && {
    checkedFFmpegAllocation(isOutOfMemory_ ? nullptr : this);
    checkedFFmpegCall([this] { return openStatus_; });
    checkedFFmpegCall([this] { return probeStatus_; });
    return std::move(input_);
}

InputFormatContext makeInputFormatContext(const URL& url,
                                          std::unique_ptr<MemoryInput> memoryInput) {
    InputOpening opening(url, InputOpening::Probing::everything, std::move(memoryInput));
    opening.run();
    return std::move(opening).makeInputFormatContext();
}

InputFormatContexts makeInputFormatContexts(const URL& url) {
    InputOpening visual(url);
    InputOpening audio(url, InputOpening::Probing::withoutPictures);
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
    const bool readsAgain = needsAllAfterAll(visual, audio);
    auto visualContext = std::move(visual).makeInputFormatContext();
    if (readsAgain) {
        return {std::move(visualContext), makeInputFormatContext(url)};
    }
    return {std::move(visualContext), std::move(audio).makeInputFormatContext()};
}

} // namespace zelvane
