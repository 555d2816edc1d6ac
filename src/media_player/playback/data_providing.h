// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "foundation/cm_time.h"
#include "foundation/dispatch.h"
#include "media_player/media_source/media_track.h"

namespace zelvane {

/// What a player asks of everything that feeds its renderers. The work runs on a serial queue of
/// the provider's own, through perform(); the other operations are called there.
class DataProviding {
  public:
    virtual ~DataProviding() = default;

    /// Runs `task` on the provider's queue, also when the provider has gone by then. With
    /// `cancelling`, feeding that runs at the moment gives way. Any thread.
    virtual void perform(bool cancelling, dispatch::Task task) = 0;

    /// Starts over at `time`, on the file's own time line, and runs `completion` on
    /// `completionQueue` once the first data has been handed on, or when that failed. With
    /// `shouldProvideData` the renderers are filled before that.
    virtual void seek(const CMTime& time, bool shouldProvideData,
                      const std::shared_ptr<dispatch::Queue>& completionQueue,
                      dispatch::Task completion) = 0;
};

/// Feeds one subtitles renderer from a file of its own.
class SubtitlesDataProvider : public DataProviding {
  public:
    virtual void setSubtitlesTrack(const std::shared_ptr<SubtitlesTrack>& track) = 0;
};

/// Where no side files are read: does nothing, and is done with it at once.
class NullSubtitlesDataProvider final : public SubtitlesDataProvider {
  public:
    void perform(bool cancelling, dispatch::Task task) override;
    void seek(const CMTime& time, bool shouldProvideData,
              const std::shared_ptr<dispatch::Queue>& completionQueue,
              dispatch::Task completion) override;
    void setSubtitlesTrack(const std::shared_ptr<SubtitlesTrack>& track) override;
};

} // namespace zelvane
