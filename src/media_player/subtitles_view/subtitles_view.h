// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "media_player/playback/media_player_environment.h"
#include "media_player/playback/subtitles_renderer.h"
#include "media_player/playback/time_observer_manager.h"
#include "media_player/subtitles_view/subtitle_view_factory.h"

namespace zelvane {

class SubtitlesSurface;

/// The subtitles of one position: decides by the clock what is on display, and tells a surface,
/// which draws it. Main queue, but for what SubtitlesRenderer allows anywhere and the end, which
/// may come on any thread.
///
///              start comes                      end comes, or a frame that clears starts
///   pending ----------------> on display ----------------------------------------------> gone
///      |                          |                                                        ^
///      +--------------------------+----- removeAllSubtitles(); or the end comes first -----+
///
/// Frames do not know of each other: those whose times overlap are all on display.
class SubtitlesView final : public SubtitlesRenderer,
                            public std::enable_shared_from_this<SubtitlesView> {
  public:
    using SubtitleViewRef = std::shared_ptr<SubtitleView>;

    /// The manager's times are those of the frames.
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
    /// Who is told of changes; it must take itself away before it goes. Null for none.
    void setSurface(SubtitlesSurface* surface) { surface_ = surface; }

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
    /// Of frames that have not started.
    Observers frameUUIDToStartTimeObserver_;
    /// Of frames that have not ended; those that clear have no end.
    Observers frameUUIDToEndTimeObserver_;
    /// Of frames on display.
    std::map<std::string, Views> frameUUIDToSubtitleViewsMap_;
    /// The same views in the order in which they came.
    Views subtitleViews_;
    SubtitlesSurface* surface_ = nullptr;
};

/// The subtitles of a desktop player, for MediaPlayerEnvironment::makeSubtitlesRenderer.
std::shared_ptr<SubtitlesRenderer>
makeSubtitlesView(const std::shared_ptr<RenderSynchronizer>& renderSynchronizer,
                  const CMTime& startTime, SubtitlesPosition position);

} // namespace zelvane
