// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "core_media/ffmpeg_handles.h"
#include "foundation/url.h"
#include "media_player/media_source/memory_input.h"

namespace zelvane {

/// One demuxer on a file. Used by one queue at a time.
class InputFormatContext {
  public:
    AVFormatContext& operator*() const { return *context_; }
    AVFormatContext* operator->() const { return context_.get(); }

  private:
    friend class InputOpening;
    /// What the library asks for whenever it reads.
    struct Watch {
        std::atomic<bool> isAbandoned{false};
        /// While it is probed, for the thread that does.
        AVFormatContext* probed = nullptr;
    };

    // The context and all that reads for it hold the watch's address: it goes after them.
    std::unique_ptr<Watch> watch_ = std::make_unique<Watch>();
    std::unique_ptr<MemoryInput> memoryInput_;
    ffmpeg::InputContext context_;
};

/// An opening and its probing, in two steps so that two of them may run side by side and only the
/// one that counts tells its failure: run() on any thread, then take() or abandon().
class InputOpening {
  public:
    /// What has to be known of the streams when it is done.
    enum class Probing {
        everything,
        /// All but the coding of pictures, where the container itself says the rest. Pictures are
        /// what takes the time.
        withoutPictures,
    };

    /// With a memory input, that one is read and the URL only names it.
    explicit InputOpening(const URL& url, Probing probing = Probing::everything,
                          std::unique_ptr<MemoryInput> memoryInput = nullptr);

    /// Opens the file and reads until all of its streams are known, however much that takes. Of
    /// what it read the context keeps the beginning at most, until it is sought in: it stands at an
    /// unknown position afterwards.
    void run() noexcept;
    bool hasFailed() const { return isOutOfMemory_ || openStatus_ < 0 || probeStatus_ < 0; }
    /// Makes a running opening fail soon. Any thread.
    void abandon() { input_.watch_->isAbandoned = true; }
    /// Whether something was left out. After run().
    bool isPartial() const { return isPartial_; }
    const AVFormatContext& context() const { return *input_; }
    /// The open context, once; logs and throws the FFmpegError of a run that failed.
    InputFormatContext makeInputFormatContext() &&;

  private:
    /// The library's callback: whether to give up.
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

/// Whether two demuxers have found the same times and number of streams.
bool isSameContainer(const AVFormatContext& context, const AVFormatContext& other);

/// One opening from start to end. Throws FFmpegError.
InputFormatContext makeInputFormatContext(const URL& url,
                                          std::unique_ptr<MemoryInput> memoryInput = nullptr);

/// Two independent demuxers on the same file.
struct InputFormatContexts {
    InputFormatContext visual;
    InputFormatContext audio;
};

/// Opens a file twice at once. To the caller it is as if the visual context had been opened first
/// and the audio context after it: the first failure is the one that is logged and thrown.
InputFormatContexts makeInputFormatContexts(const URL& url);

} // namespace zelvane
