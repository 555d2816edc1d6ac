// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <vector>

#include <QWidget>

#include "foundation/url.h"

namespace zelvane {

/// What a player does with files that are dropped on it. Main thread.
class MediaPlayerViewDraggingDelegate {
  public:
    virtual ~MediaPlayerViewDraggingDelegate() = default;
    /// One side file at a time.
    virtual bool isAddingExternalSubtitles() const = 0;
    virtual void addExternalSubtitles(const URL& url) = 0;
    virtual void openDroppedMedia(const std::vector<URL>& urls) = 0;
};

/// The content of a player window: takes a dropped side file as subtitles, and opens
/// other files elsewhere. Main thread.
class MediaPlayerView : public QWidget {
  public:
    explicit MediaPlayerView(QWidget* parent);

    /// Null takes nothing. Must outlive the view or be taken away.
    void setDraggingDelegate(MediaPlayerViewDraggingDelegate* delegate) { delegate_ = delegate; }

  protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    bool canCopy(const QDropEvent& event) const;
    std::optional<URL> acceptableSubtitles(const QDropEvent& event) const;
    std::vector<URL> acceptableMedia(const QDropEvent& event) const;

    MediaPlayerViewDraggingDelegate* delegate_ = nullptr;
};

} // namespace zelvane
