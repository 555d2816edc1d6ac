// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include <QWidget>

#include "foundation/geometry.h"
#include "foundation/url.h"
#include "media_player/playback/media_player_environment.h"

class QLabel;

namespace zelvane {

class NoticeWidget;
class PictureView;
class VideoPresenter;

/// A window with nothing but the picture on black, or, for sound alone, the file's name on a dark
/// ground. Space asks for play or pause, J and Shift+J for the next subtitles at the bottom and at
/// the top, F and F11 go to full screen and back, Esc comes back. Files of subtitles may be dropped
/// on it. Main thread.
class PlainPlayerWindow final : public QWidget {
  public:
    struct Callbacks {
        std::function<void()> onTogglePlay = {};
        /// The person has closed the window. Called once; the window still exists then.
        std::function<void()> onClose = {};
        std::function<void(SubtitlesPosition)> onCycleSubtitles = {};
        /// Whether a file of subtitles would be taken now.
        std::function<bool()> canAddSubtitles = {};
        std::function<void(const URL&)> onAddSubtitles = {};
    };
    /// `pictureSize` is the picture as it is seen, in square pixels; none for sound alone.
    PlainPlayerWindow(const QString& fileName, std::optional<CGSize> pictureSize,
                      Callbacks callbacks);

    /// Null for sound alone.
    std::shared_ptr<VideoPresenter> presenter() const;
    /// The picture and what lies over it; null for sound alone.
    PictureView* pictureView() const { return pictureView_; }
    /// Shows a short word over the picture for a moment.
    void showNotice(const QString& text);

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void setDarkGround();
    bool pressKey(int key);
    std::optional<URL> acceptableSubtitles(const QDropEvent& event) const;
    void toggleFullScreen();
    void leaveFullScreen();
    void fillWithContent();

    Callbacks callbacks_;
    PictureView* pictureView_ = nullptr;
    QLabel* nameLabel_ = nullptr;
    NoticeWidget* notice_ = nullptr;
    QString fileName_;
};

/// The size of a window for the picture: its own, or the largest of its shape that `available`
/// holds, whichever is smaller.
CGSize initialWindowSize(const CGSize& picture, const CGSize& available);

} // namespace zelvane
