// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "rendering/media_data_consumer.h"

namespace zelvane {

/// The consumer's side of a subtitles renderer: turns the number of frames that it holds into
/// requests for more. Any thread.
///
///               count at or below the low mark
///     resting --------------------------------> filling
///        ^                                         |
///        +-----------------------------------------+
///               count at or above the high mark
///
/// The count includes frames on their way to the renderer, so that a busy main thread is not sent
/// the whole file.
class BufferDataRequester final : public MediaDataConsumer {
  public:
    /// Marks in frames.
    BufferDataRequester(int lowWaterMark, int highWaterMark);
    ~BufferDataRequester() override;
    BufferDataRequester(const BufferDataRequester&) = delete;
    BufferDataRequester& operator=(const BufferDataRequester&) = delete;

    bool isReadyForMoreMediaData() const override;
    void requestMediaDataWhenReady(std::shared_ptr<dispatch::Queue> queue,
                                   dispatch::Task block) override;
    void stopRequestingMediaData() override;

    /// The number of frames that the renderer holds now.
    void setBufferCount(int bufferCount);
    int bufferCount() const;
    /// A frame is sent to the renderer, which does not count it yet.
    void willDeliver();
    /// Runs `addFrame`, in which the renderer may count the frame or drop it. Balances one
    /// willDeliver().
    void deliver(const dispatch::Task& addFrame);

  private:
    class State;
    const std::shared_ptr<State> state_;
};

} // namespace zelvane
