// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

#include "player_window/controls/accessible_widget.h"

namespace zelvane {

/// The volume of a player, 0…1, as a thin bar with a round knob. Main thread.
class VolumeSlider final : public QWidget, public AccessibleWidget {
    Q_OBJECT

  public:
    /// A notch of the wheel, an arrow key.
    static constexpr double kStep = 0.05;

    explicit VolumeSlider(QWidget* parent);

    double volume() const { return volume_; }
    /// Clamped to 0…1; volumeDidChange is not emitted.
    void setVolume(double volume);
    /// A muted slider is dimmed.
    void setMuted(bool muted);
    QAccessibleInterface* makeAccessible() override;
    QSize sizeHint() const override;

  signals:
    /// A person has changed the volume.
    void volumeDidChange(double volume);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

  private:
    void change(double volume);
    QRectF bar() const;

    double volume_ = 1;
    bool isMuted_ = false;
    bool showsFocus_ = false;
};

} // namespace zelvane
