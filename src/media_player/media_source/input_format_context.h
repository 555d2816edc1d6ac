// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "core_media/ffmpeg_handles.h"
#include "foundation/url.h"
#include "media_player/media_source/load_interruption.h"
#include "media_player/media_source/memory_input.h"

namespace zelvane {

/// A demuxer of one file. Used by one queue at a time.
class InputFormatContext {
  public:
    AVFormatContext& operator*() const { return *context_; }
    AVFormatContext* operator->() const { return context_.get(); }
    /// That of its opening.
    const LoadInterruption& interruption() const { return watch_->interruption; }

  private:
    friend class InputOpening;
    /// State for the callback that the library calls at each read.
    struct Watch {
        std::atomic<bool> isAbandoned{false};
        LoadInterruption interruption;
        /// Set while it is probed; used by the probing thread.
        AVFormatContext* probed = nullptr;
    };

    // The context and its input have the watch's address: it must be destroyed after them.
    std::unique_ptr<Watch> watch_ = std::make_unique<Watch>();
    std::unique_ptr<MemoryInput> memoryInput_;
    ffmpeg::InputContext context_;
};

/// The opening of a file with its probing, in two steps, so that two openings can run in parallel
/// and only one of them reports its failure: run() on any thread, then makeInputFormatContext().
class InputOpening {
  public:
    /// What is known of the streams afterwards.
    enum class Probing {
        everything,
        /// All but the coding of pictures, where the container states the rest. Decoding pictures
        /// takes most of the time.
        withoutPictures,
    };

    /// With a memory input, that input is read, and the URL is only its name.
    explicit InputOpening(const URL& url, Probing probing = Probing::everything,
                          std::unique_ptr<MemoryInput> memoryInput = nullptr,
                          const LoadInterruption& interruption = {});

    /// Opens the file and reads until all streams are known. The context buffers at most the
    /// beginning of the file until a seek. The read position is unknown afterwards.
    void run() noexcept;
    bool hasFailed() const { return isOutOfMemory_ || openStatus_ < 0 || probeStatus_ < 0; }
    /// Makes a running opening fail. Any thread.
    void abandon() { input_.watch_->isAbandoned = true; }
    /// Returns whether decoders were left out. Call after run().
    bool isPartial() const { return isPartial_; }
    const AVFormatContext& context() const { return *input_; }
    /// Returns the open context; call once. Logs and throws the FFmpegError of a failed run.
    InputFormatContext makeInputFormatContext() &&;

  private:
    /// The library's callback. Returns whether to stop.
    static int didRead(void* watch);

    int open(ffmpeg::InputContext& opened, AVIOContext* memory);
    int probe();
    void leavePicturesOut();
    void readPictureHeaders();

    std::string path_;
    Probing probing_;
    InputFormatContext input_;
    bool isOutOfMemory_ = false;
    bool isPartial_ = false;
    int openStatus_ = 0;
    int probeStatus_ = 0;
};

/// Returns whether two demuxers found the same times and number of streams.
bool isSameContainer(const AVFormatContext& context, const AVFormatContext& other);

/// Opens and probes a file. Throws FFmpegError.
InputFormatContext makeInputFormatContext(const URL& url,
                                          std::unique_ptr<MemoryInput> memoryInput = nullptr,
                                          const LoadInterruption& interruption = {});

/// Two independent demuxers on the same file.
struct InputFormatContexts {
    InputFormatContext visual;
    InputFormatContext audio;
};

/// Opens a file twice in parallel. The failure of the visual context is reported before that of the
/// audio context.
InputFormatContexts makeInputFormatContexts(const URL& url,
                                            const LoadInterruption& interruption = {});

} // namespace zelvane
