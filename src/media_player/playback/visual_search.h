// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>

#include "media_player/playback/recent_frames.h"
#include "media_player/playback/search_progress.h"
#include "media_player/playback/seek_answer.h"
#include "media_player/playback/visual_reader.h"

namespace zelvane {

/// Decodes until the picture of a seek's target is found, and passes it and all later pictures to
/// the renderer. Pictures before the target that nothing needs are skipped by the decoder. Lives
/// for one attempt, on its provider's queue.
class VisualSearch {
  public:
    /// What the search uses. All outlive it.
    struct Parts {
        VisualReader& reader;
        DecodeFeed& feed;
        RecentFrames& recent;
        SearchProgress& progress;
    };
    struct Goal {
        CMTime target;
        /// Accept a first picture after the target, because nothing earlier can be decoded.
        bool takesLater = false;
        /// The number of pictures before the target that are decoded for further steps back.
        std::size_t framesToKeepBefore = 0;
    };

    VisualSearch(const Parts& parts, const Goal& goal, VisualReader::FramesReceiver receiver);

    /// A picture that the decoder gave before the search.
    void add(const CMSampleBufferRef& picture) { answer_.add(picture); }
    /// Decodes `packets`, and reads on if the answer is not among their pictures. Not `continues`:
    /// the file has ended or could not be read.
    VisualReader::Reading run(const PacketSource::CollectedPackets& packets);
    bool isFound() const { return answer_.isFound(); }
    /// Whether a search from an earlier key frame would not help.
    bool isFinal() const { return !answer_.isTooLate() && answer_.hasSeenPictures(); }

  private:
    void receive(const CMSampleBufferRef& picture);
    void decode(const PacketSource::CollectedPackets& packets);
    void setWantedTime(const std::optional<CMTime>& time) const;

    Parts parts_;
    Goal goal_;
    VisualReader::FramesReceiver receiver_;
    SeekAnswer answer_;
    /// Earlier pictures are not needed; none if they cannot be told apart.
    std::optional<CMTime> earliestWantedTime_;
};

} // namespace zelvane
