// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include <QWidget>

#include "foundation/geometry.h"

class QLabel;

namespace zelvane {

class PictureView;
class VideoPresenter;

/// A window with nothing but the picture on black, or, for sound alone, the file's name on a dark
/// ground. Space asks for play or pause, F and F11 go to full screen and back, Esc comes back.
/// Main thread.
class PlainPlayerWindow final : public QWidget {
  public:
    struct Callbacks {
        std::function<void()> onTogglePlay;
        /// The person has closed the window. Called once; the window still exists then.
        std::function<void()> onClose;
    };
    /// `pictureSize` is the picture as it is seen, in square pixels; none for sound alone.
    PlainPlayerWindow(const QString& fileName, std::optional<CGSize> pictureSize,
                      Callbacks callbacks);

    /// Null for sound alone.
    std::shared_ptr<VideoPresenter> presenter() const;
    /// The picture and what lies over it; null for sound alone.
    PictureView* pictureView() const { return pictureView_; }

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void setDarkGround();
    void toggleFullScreen();
    void leaveFullScreen();
    void fillWithContent();

    Callbacks callbacks_;
    PictureView* pictureView_ = nullptr;
    QLabel* nameLabel_ = nullptr;
    QString fileName_;
};

/// The size of a window for the picture: its own, or the largest of its shape that `available`
/// holds, whichever is smaller.
CGSize initialWindowSize(const CGSize& picture, const CGSize& available);

} // namespace zelvane
