// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <QWidget>

#include "foundation/geometry.h"
#include "foundation/url.h"

namespace zelvane {

class PrimaryButton;
class RecentFileRow;

/// The content of the window that is shown while nothing is open: a button, the files that were
/// opened before, and room for dropped files. Main thread.
class StartView final : public QWidget {
    Q_OBJECT

  public:
    /// More are not shown.
    static constexpr std::size_t kMostFiles = 8;

    explicit StartView(QWidget* parent);

    void setRecentFiles(const std::vector<URL>& files);
    PrimaryButton& openButton() const { return *openButton_; }
    /// Below a title bar, in points.
    CGSize fittingSize() const;

  signals:
    void openRequested();
    void filesChosen(const std::vector<zelvane::URL>& files);
    void removeRequested(const zelvane::URL& file);

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    void layOut();

    PrimaryButton* openButton_;
    std::vector<RecentFileRow*> rows_;
    bool isDropTarget_ = false;
};

} // namespace zelvane
