// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "foundation/dispatch.h"
#include "player_window/picture_view.h"
#include "rendering/sample_buffer_render_synchronizer.h"
#include "tests/subtitles_view/subtitles_view_fakes.h"

namespace zelvane::test {

/// The subtitles of both positions over a picture view, with a stopped clock and a main queue that
/// this runs. Each subtitle is a half transparent blue rectangle in the lower right quarter of the
/// picture; the text "upper" is in the upper right one.
class ShownSubtitles {
  public:
    ShownSubtitles() { dispatch::setMainQueue(queue_); }
    ~ShownSubtitles() {
        primary_ = nullptr;
        secondary_ = nullptr;
        queue_->runPending();
        dispatch::setMainQueue(nullptr);
    }
    ShownSubtitles(const ShownSubtitles&) = delete;
    ShownSubtitles& operator=(const ShownSubtitles&) = delete;

    void addTo(PictureView& view) { view.addSubtitles(primary_, secondary_); }
    void setVideoSize(int width, int height) {
        for (const auto& view : {primary_, secondary_}) {
            view->setVideoDimensions(VideoDimensions(width, height, std::nullopt, 1));
        }
        queue_->runPending();
    }
    void show(SubtitlesView& view, const std::string& text = "a") {
        view.addSubtitlesFrame(
            frameOf(kCMTimeZero, kCMTimePositiveInfinity, std::vector{line(text)}));
        queue_->runPending();
    }
    void remove(SubtitlesView& view) {
        view.removeAllSubtitles();
        queue_->runPending();
    }

    const std::shared_ptr<SubtitlesView>& primaryView() const { return primary_; }
    const std::shared_ptr<SubtitlesView>& secondaryView() const { return secondary_; }
    SubtitlesView& primary() { return *primary_; }
    SubtitlesView& secondary() { return *secondary_; }
    /// Of all subtitles together.
    FakeSubtitleView::Counts& counts() { return *counts_; }

  private:
    std::shared_ptr<SubtitlesView> makeView(bool isPrimary) {
        return std::make_shared<SubtitlesView>(isPrimary, TimeObserverManager(clock_, kCMTimeZero),
                                               fakeViews(counts_));
    }

    std::shared_ptr<dispatch::RunLoopQueue> queue_ = std::make_shared<dispatch::RunLoopQueue>();
    std::shared_ptr<SampleBufferRenderSynchronizer> clock_ =
        std::make_shared<SampleBufferRenderSynchronizer>();
    std::shared_ptr<FakeSubtitleView::Counts> counts_ =
        std::make_shared<FakeSubtitleView::Counts>();
    std::shared_ptr<SubtitlesView> primary_ = makeView(true);
    std::shared_ptr<SubtitlesView> secondary_ = makeView(false);
};

} // namespace zelvane::test
