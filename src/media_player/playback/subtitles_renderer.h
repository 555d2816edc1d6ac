// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <vector>

#include "core_media/video_dimensions.h"
#include "media_player/decoders/subtitles/subtitles_frame.h"
#include "media_player/playback/buffer_data_requester.h"

namespace zelvane {

/// Shows the subtitle frames of one position at their times on the clock.
class SubtitlesRenderer {
  public:
    virtual ~SubtitlesRenderer() = default;
    /// Takes a frame and shows it for its time. Main queue.
    virtual void addSubtitlesFrame(SubtitlesFrameRef frame) = 0;
    /// Drops all frames and clears the display. Any thread; takes effect on the main queue after
    /// the tasks that wait there.
    virtual void removeAllSubtitles() = 0;
    /// The size of the picture that the subtitles are placed on. Any thread.
    virtual void setVideoDimensions(const VideoDimensions& dimensions) = 0;

    /// Asks for more frames of a side file. The renderer sets its count to the number of frames
    /// that have not ended, whenever that changes. Any thread.
    const std::shared_ptr<BufferDataRequester>& mediaDataRequester() const {
        return mediaDataRequester_;
    }

    /// Adds frames to `renderer` by the main queue, in their order. Any thread.
    static void sendFrames(const std::shared_ptr<SubtitlesRenderer>& renderer,
                           const std::vector<SubtitlesFrameRef>& frames);

  protected:
    // A film has thousands of subtitles, and each waiting one costs two observers on the clock.
    static constexpr int kLowWaterMark = 2;
    static constexpr int kHighWaterMark = 10;

  private:
    const std::shared_ptr<BufferDataRequester> mediaDataRequester_ =
        std::make_shared<BufferDataRequester>(kLowWaterMark, kHighWaterMark);
};

} // namespace zelvane
