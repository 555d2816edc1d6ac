// SPDX-License-Identifier: GPL-3.0-or-later
#include "subtitles_view/subtitles_view.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "foundation/dispatch.h"
#include "foundation/uuid.h"
#include "subtitles_view/subtitles_surface.h"

namespace zelvane {

SubtitlesView::SubtitlesView(bool isPrimarySubtitlesView, TimeObserverManager timeObserverManager,
                             SubtitleViewFactory factory)
    : isPrimarySubtitlesView_(isPrimarySubtitlesView),
      timeObserverManager_(std::move(timeObserverManager)), factory_(std::move(factory)) {}

SubtitlesView::~SubtitlesView() {
    forgetObservers(frameUUIDToStartTimeObserver_);
    forgetObservers(frameUUIDToEndTimeObserver_);
    if (!subtitleViews_.empty()) {
        // The toolkit's objects must be destroyed on the main thread.
        dispatch::mainQueue()->async([views = std::move(subtitleViews_),
                                      byFrame = std::move(frameUUIDToSubtitleViewsMap_)]() mutable {
            byFrame.clear();
            views.clear();
        });
    }
}

TimeObserverManager::ObserverRef
SubtitlesView::observe(const CMTime& time, std::function<void(SubtitlesView&)> action) {
    return timeObserverManager_.addOneShotBoundaryTimeObserver(
        time, dispatch::mainQueue(), [weakSelf = weak_from_this(), action = std::move(action)] {
            if (const auto self = weakSelf.lock()) {
                action(*self);
            }
        });
}

void SubtitlesView::addSubtitlesFrame(SubtitlesFrameRef frame) {
    assert(dispatch::mainQueue()->isCurrent());
    const std::string frameUUID = makeUUIDString();
    frameUUIDToStartTimeObserver_[frameUUID] =
        observe(frame->startTime, [frameUUID, frame](SubtitlesView& self) {
            self.startTimeDidCome(frameUUID, *frame);
        });
    if (std::holds_alternative<ClearPreviousSubtitles>(frame->subtitles)) {
        return;
    }
    frameUUIDToEndTimeObserver_[frameUUID] = observe(
        frame->endTime, [frameUUID](SubtitlesView& self) { self.endTimeDidCome(frameUUID); });
    updateBufferCount();
}

void SubtitlesView::startTimeDidCome(const std::string& frameUUID, const SubtitlesFrame& frame) {
    // A call that was posted before its frame was removed finds no entry: nothing would remove the
    // view later.
    if (frameUUIDToStartTimeObserver_.erase(frameUUID) > 0) {
        show(frameUUID, frame.subtitles);
    }
}

void SubtitlesView::show(const std::string& frameUUID, const Subtitles& subtitles) {
    if (std::holds_alternative<ClearPreviousSubtitles>(subtitles)) {
        clearDisplay();
        return;
    }
    Views views = makeViews(subtitles);
    if (views.empty()) {
        return;
    }
    for (const auto& view : views) {
        subtitleViews_.push_back(view);
        if (surface_ != nullptr) {
            surface_->didAddSubtitleView(*view);
        }
    }
    frameUUIDToSubtitleViewsMap_[frameUUID] = std::move(views);
}

SubtitlesView::Views SubtitlesView::makeViews(const Subtitles& subtitles) const {
    Views views;
    if (const auto* text = std::get_if<TextSubtitle>(&subtitles)) {
        views.push_back(
            factory_.makeTextView(inUserSpecifiedStyle(*text), isPrimarySubtitlesView_));
    } else if (const auto* lines = std::get_if<std::vector<FormattedTextSubtitle>>(&subtitles)) {
        for (const auto& line : *lines) {
            views.push_back(factory_.makeTextView(line, isPrimarySubtitlesView_));
        }
    } else if (const auto* images = std::get_if<std::vector<ImageSubtitle>>(&subtitles)) {
        for (const auto& image : *images) {
            views.push_back(
                factory_.makeImageView(image, isPrimarySubtitlesView_, currentVideoDimensions_));
        }
    }
    return views;
}

FormattedTextSubtitle SubtitlesView::inUserSpecifiedStyle(const TextSubtitle& subtitle) const {
    const SubtitleTextStyle style = factory_.userSpecifiedStyle();
    return {std::make_shared<const AttributedString>(subtitle.text,
                                                     style.textAttributes.underlyingTextAttributes),
            style};
}

void SubtitlesView::endTimeDidCome(const std::string& frameUUID) {
    forgetObserver(frameUUIDToStartTimeObserver_, frameUUID);
    forgetObserver(frameUUIDToEndTimeObserver_, frameUUID);
    updateBufferCount();
    if (const auto shown = frameUUIDToSubtitleViewsMap_.extract(frameUUID)) {
        remove(shown.mapped());
    }
}

void SubtitlesView::clearDisplay() {
    for (const auto& [frameUUID, views] : std::exchange(frameUUIDToSubtitleViewsMap_, {})) {
        forgetObserver(frameUUIDToStartTimeObserver_, frameUUID);
        forgetObserver(frameUUIDToEndTimeObserver_, frameUUID);
        remove(views);
    }
    updateBufferCount();
}

void SubtitlesView::removeAllSubtitles() {
    dispatch::mainQueue()->async([weakSelf = weak_from_this()] {
        if (const auto self = weakSelf.lock()) {
            self->flush();
        }
    });
}

void SubtitlesView::flush() {
    forgetObservers(frameUUIDToStartTimeObserver_);
    forgetObservers(frameUUIDToEndTimeObserver_);
    updateBufferCount();
    frameUUIDToSubtitleViewsMap_.clear();
    remove(Views(subtitleViews_));
}

void SubtitlesView::setVideoDimensions(const VideoDimensions& dimensions) {
    dispatch::mainQueue()->async([weakSelf = weak_from_this(), dimensions] {
        if (const auto self = weakSelf.lock()) {
            self->currentVideoDimensions_ = dimensions;
            if (self->surface_ != nullptr) {
                self->surface_->videoDimensionsDidChange();
            }
        }
    });
}

void SubtitlesView::forgetObserver(Observers& observers, const std::string& frameUUID) {
    if (const auto found = observers.extract(frameUUID)) {
        timeObserverManager_.removeTimeObserver(*found.mapped());
    }
}

void SubtitlesView::forgetObservers(Observers& observers) {
    for (const auto& [frameUUID, observer] : std::exchange(observers, {})) {
        timeObserverManager_.removeTimeObserver(*observer);
    }
}

void SubtitlesView::remove(const Views& views) {
    for (const auto& view : views) {
        std::erase(subtitleViews_, view);
        if (surface_ != nullptr) {
            surface_->willRemoveSubtitleView(*view);
        }
    }
}

void SubtitlesView::updateBufferCount() const {
    mediaDataRequester()->setBufferCount(static_cast<int>(frameUUIDToEndTimeObserver_.size()));
}

SubtitlesViews makeSubtitlesViews(const std::shared_ptr<RenderSynchronizer>& renderSynchronizer) {
    const TimeObserverManager observers(renderSynchronizer, kCMTimeZero);
    return {std::make_shared<SubtitlesView>(true, observers),
            std::make_shared<SubtitlesView>(false, observers)};
}

} // namespace zelvane
