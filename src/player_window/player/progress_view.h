// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>

#include <QIcon>
#include <QString>
#include <QWidget>

class QLabel;

namespace zelvane {

/// An operation under way: an icon, what is done, an indicator without an end, and a button that
/// cancels. It has the look of the panels, and paints no ground. Its focus is that of the button.
/// Main thread.
class ProgressView final : public QWidget {
    Q_OBJECT

  public:
    /// The size where there is room for it; it may be narrower.
    static constexpr QSize kPreferredSize{420, 64};
    /// An operation that ends before shows nothing.
    static constexpr std::chrono::milliseconds kDelay{250};

    ProgressView(const QIcon& icon, const QString& text, QWidget* parent);
    ~ProgressView() override;

  signals:
    void cancelled();

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    class Indicator;
    class Button;

    const QString text_;
    QLabel* label_;
    Button* cancelButton_;
};

} // namespace zelvane
