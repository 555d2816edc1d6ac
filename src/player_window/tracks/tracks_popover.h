// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include <QPointer>
#include <QWidget>

#include "player_window/tracks/tracks_menu.h"

class QAbstractButton;
class QKeyEvent;
class QScrollArea;
class QVBoxLayout;

namespace zelvane {

class DiscreteSlider;
class TracksPopoverRow;

struct TracksPopoverModel {
    std::vector<TracksMenuSection> sections;
    /// Whether there is a row that asks for a subtitle file.
    bool canAddSubtitles = false;
    float rate = 1;
};

/// The tracks and the speed of a player, over the picture above the button that opens it. It closes
/// after a choice of a track, by Esc and by a click beside it, which does nothing else. Up and Down
/// move through its rows, Return and Space choose one. It is a child of the window and not a window
/// of its own, so that assistive technology finds it. Main thread.
class TracksPopover final : public QWidget {
    Q_OBJECT

  public:
    /// Hidden at first.
    explicit TracksPopover(QWidget* window);

    /// May be called while the popover is open.
    void setModel(TracksPopoverModel model);
    /// Opens above the parent of `button`. Call setModel() first. The button looks pressed until
    /// the popover closes.
    void openFor(QAbstractButton& button);
    /// Returns the focus to where it was.
    void dismiss();

  signals:
    void trackChosen(TrackRole role, const std::shared_ptr<MediaTrack>& track);
    void rateChosen(float rate);
    void addSubtitlesChosen();
    /// After each openFor(), and before the signal of a choice that closes it.
    void closed();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    // What is over the popover must not reach the picture.
    void mousePressEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

  private:
    void makeContent();
    void addSection(const TracksMenuSection& section);
    void addActions();
    void addRates();
    void addHeader(const QString& text);
    void updateContent();
    void place();
    bool filterMousePress(const QWidget& widget);
    bool filterKey(QKeyEvent* event);
    bool isMine(int key) const;
    void pressKey(int key);
    void moveFocus(int step);
    void focusItem(std::ptrdiff_t index, Qt::FocusReason reason);
    /// -1 for none.
    std::ptrdiff_t focusedItem() const;

    TracksPopoverModel model_;
    QScrollArea* scrollArea_;
    // All are in the scroll area.
    QVBoxLayout* layout_ = nullptr;
    std::vector<TracksPopoverRow*> trackRows_;
    DiscreteSlider* rateSlider_ = nullptr;
    /// What the focus moves through, from top to bottom.
    std::vector<QWidget*> items_;
    QPointer<QAbstractButton> button_;
    QPointer<QWidget> previousFocus_;
};

} // namespace zelvane
