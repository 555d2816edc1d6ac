// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "core_media/video_dimensions.h"
#include "media_player/decoders/subtitles/subtitles_frame.h"
#include "media_player/playback/buffer_data_requester.h"

namespace zelvane {

/// Shows subtitle frames of one position on the clock.
class SubtitlesRenderer {
  public:
    virtual ~SubtitlesRenderer() = default;
    /// Takes a frame and shows it for its time. Main queue.
    virtual void addSubtitlesFrame(SubtitlesFrameRef frame) = 0;
    /// Forgets all frames and clears what is shown. Any thread; takes effect on the main queue
    /// after what is waiting there.
    virtual void removeAllSubtitles() = 0;
    /// The size of the picture that the subtitles lie on. Any thread.
    virtual void setVideoDimensions(const VideoDimensions& dimensions) = 0;

    /// Asks for more frames of a side file. The renderer tells it how many frames it holds that
    /// have not ended, whenever that changes. Any thread.
    const BufferDataRequester& mediaDataRequester() const { return mediaDataRequester_; }

  protected:
    // A film has thousands of subtitles, and each that waits costs observers on the clock.
    static constexpr int kLowWaterMark = 2;
    static constexpr int kHighWaterMark = 10;

  private:
    BufferDataRequester mediaDataRequester_{kLowWaterMark, kHighWaterMark};
};

} // namespace zelvane
