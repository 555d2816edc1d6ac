// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPixmap>
#include <QVariantAnimation>
#include <QWidget>

namespace zelvane {

/// A widget over the picture that fades in and out with all that it holds. While it fades, a
/// snapshot of its children is painted with the opacity of the moment: an effect on live widgets
/// would be painted again for each picture of the film. A hidden panel takes no pointer events, but
/// its children keep the focus and stay visible to assistive technology. Main thread.
class FadingPanel : public QWidget {
  public:
    explicit FadingPanel(QWidget* parent);

    /// The widget that fills the panel. Owned by the panel.
    void setContent(QWidget* content);
    static constexpr int kFadeDuration = 200;
    /// Fades over `duration` in milliseconds; 0 changes at once, and so does every fade while the
    /// user wants less motion. A panel without content stays.
    void setShown(bool shown, int duration = kFadeDuration);
    bool isShown() const { return isShown_; }
    /// 0…1, of this moment.
    double opacity() const { return opacity_; }

  protected:
    /// Paints what is under the content. The painter has the opacity of the moment.
    virtual void paintGround(QPainter& painter) = 0;
    void paintEvent(QPaintEvent* event) final;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void setOpacity(double opacity);
    void takeSnapshot();
    void finishFading();

    QWidget* content_ = nullptr;
    QPixmap snapshot_;
    QVariantAnimation animation_;
    double opacity_ = 1;
    bool isShown_ = true;
};

} // namespace zelvane
