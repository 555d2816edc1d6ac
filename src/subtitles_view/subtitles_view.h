// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "media_player/playback/subtitles_renderer.h"
#include "media_player/playback/time_observer_manager.h"
#include "subtitles_view/subtitle_view_factory.h"

namespace zelvane {

class SubtitlesSurface;

/// The subtitles of one position: decides by the clock what is on display, and reports it to a
/// surface, which draws it. Main queue, except for the operations that SubtitlesRenderer allows on
/// any thread, and destruction, which may be on any thread.
///
///              start is due                     end is due, or a frame that clears starts
///   pending ----------------> on display ----------------------------------------------> gone
///      |                          |                                                        ^
///      +--------------------------+----- removeAllSubtitles(); or the end is due first ----+
///
/// Frames are independent: those whose times overlap are all on display.
class SubtitlesView final : public SubtitlesRenderer,
                            public std::enable_shared_from_this<SubtitlesView> {
  public:
    using SubtitleViewRef = std::shared_ptr<SubtitleView>;

    /// The manager must use the same time line as the frames.
    SubtitlesView(bool isPrimarySubtitlesView, TimeObserverManager timeObserverManager,
                  SubtitleViewFactory factory = SubtitleViewFactory::standard());
    ~SubtitlesView() override;
    SubtitlesView(const SubtitlesView&) = delete;
    SubtitlesView& operator=(const SubtitlesView&) = delete;

    void addSubtitlesFrame(SubtitlesFrameRef frame) override;
    void removeAllSubtitles() override;
    void setVideoDimensions(const VideoDimensions& dimensions) override;

    bool isPrimarySubtitlesView() const { return isPrimarySubtitlesView_; }
    const std::optional<VideoDimensions>& currentVideoDimensions() const {
        return currentVideoDimensions_;
    }
    /// What is on display, from back to front.
    const std::vector<SubtitleViewRef>& subtitleViews() const { return subtitleViews_; }
    /// Reports changes to `surface`, which must call removeSurface() before it is destroyed. Null
    /// for none.
    void setSurface(SubtitlesSurface* surface) { surface_ = surface; }
    /// Does nothing if another surface has taken the place of this one.
    void removeSurface(const SubtitlesSurface& surface) {
        surface_ = surface_ == &surface ? nullptr : surface_;
    }

  private:
    using Observers = std::map<std::string, TimeObserverManager::ObserverRef>;
    using Views = std::vector<SubtitleViewRef>;

    TimeObserverManager::ObserverRef observe(const CMTime& time,
                                             std::function<void(SubtitlesView&)> action);
    void startTimeDidCome(const std::string& frameUUID, const SubtitlesFrame& frame);
    void endTimeDidCome(const std::string& frameUUID);
    void show(const std::string& frameUUID, const Subtitles& subtitles);
    Views makeViews(const Subtitles& subtitles) const;
    FormattedTextSubtitle inUserSpecifiedStyle(const TextSubtitle& subtitle) const;
    void clearDisplay();
    void flush();

    void forgetObserver(Observers& observers, const std::string& frameUUID);
    void forgetObservers(Observers& observers);
    void remove(const Views& views);
    void updateBufferCount() const;

    const bool isPrimarySubtitlesView_;
    const TimeObserverManager timeObserverManager_;
    const SubtitleViewFactory factory_;
    std::optional<VideoDimensions> currentVideoDimensions_;
    /// Start observers of frames that have not started.
    Observers frameUUIDToStartTimeObserver_;
    /// End observers of frames that have not ended; frames that clear have none.
    Observers frameUUIDToEndTimeObserver_;
    /// The views of frames on display.
    std::map<std::string, Views> frameUUIDToSubtitleViewsMap_;
    /// The same views in the order of their addition.
    Views subtitleViews_;
    SubtitlesSurface* surface_ = nullptr;
};

/// The views of both positions of one player.
struct SubtitlesViews {
    std::shared_ptr<SubtitlesView> primary;
    std::shared_ptr<SubtitlesView> secondary;
};

/// Makes a view whose frames have times of the clock itself. Main queue.
SubtitlesViews makeSubtitlesViews(const std::shared_ptr<RenderSynchronizer>& renderSynchronizer);

} // namespace zelvane
