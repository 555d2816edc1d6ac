// SPDX-License-Identifier: GPL-3.0-or-later
#include "preferences/settings_grid.h"

#include <QCheckBox>
#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QStyle>
#include <QStyleOptionButton>

namespace zelvane {
namespace {

constexpr int kMargin = 20;
constexpr int kColumnGap = 10;
constexpr int kRowGap = 8;
/// Besides the gaps of the rows, of which an empty row has one.
constexpr int kSectionGap = 6;
constexpr int kControlGap = 8;
constexpr int kDescriptionWidth = 360;
constexpr double kDescriptionSize = 0.88;

/// The x of a check box's title.
int titleInset(const QCheckBox& checkBox) {
    QStyleOptionButton option;
    option.initFrom(&checkBox);
    option.rect = QRect(QPoint(0, 0), checkBox.sizeHint());
    return checkBox.style()->subElementRect(QStyle::SE_CheckBoxContents, &option, &checkBox).x();
}

/// Text of lower weight, which keeps a contrast of 4.5:1 in light and dark schemes.
class DescriptionLabel final : public QLabel {
  public:
    explicit DescriptionLabel(const QString& text, int width) : QLabel(text) {
        setWordWrap(true);
        setFixedWidth(width);
        setTextInteractionFlags(Qt::NoTextInteraction);
        QFont small = font();
        small.setPointSizeF(small.pointSizeF() * kDescriptionSize);
        setFont(small);
        updateColor();
    }

  protected:
    void changeEvent(QEvent* event) override {
        if (event->type() == QEvent::ApplicationPaletteChange) {
            updateColor();
        }
        QLabel::changeEvent(event);
    }

  private:
    void updateColor() {
        constexpr float kOpacity = 0.75F;
        QPalette own;
        QColor color = own.color(QPalette::WindowText);
        color.setAlphaF(kOpacity);
        own.setColor(QPalette::WindowText, color);
        setPalette(own);
    }
};

} // namespace

// The pane owns its parts. NOLINTBEGIN(cppcoreguidelines-owning-memory)
SettingsGrid::SettingsGrid(QWidget& pane) : layout_(new QGridLayout(&pane)) {
    layout_->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    layout_->setHorizontalSpacing(kColumnGap);
    layout_->setVerticalSpacing(kRowGap);
    // The space that the widest pane leaves is divided: the form is in the middle.
    layout_->setColumnStretch(0, 1);
    layout_->setColumnStretch(1, 1);
    layout_->setAlignment(Qt::AlignTop);
}

int SettingsGrid::nextRow() const {
    return layout_->rowCount();
}

void SettingsGrid::addRow(const QString& label, std::initializer_list<QWidget*> controls,
                          Qt::Alignment labelAlignment) {
    const int row = nextRow();
    auto* title = new QLabel(label);
    title->setBuddy(*controls.begin());
    layout_->addWidget(title, row, 0, Qt::AlignRight | labelAlignment);
    auto* line = new QHBoxLayout;
    line->setSpacing(kControlGap);
    for (auto* control : controls) {
        line->addWidget(control);
    }
    line->addStretch();
    layout_->addLayout(line, row, 1);
}

QCheckBox* SettingsGrid::addCheckBox(const QString& label, const QString& title) {
    const int row = nextRow();
    auto* checkBox = new QCheckBox(title);
    if (!label.isEmpty()) {
        layout_->addWidget(new QLabel(label), row, 0, Qt::AlignRight | Qt::AlignVCenter);
    }
    layout_->addWidget(checkBox, row, 1, Qt::AlignLeft);
    return checkBox;
}

QLabel* SettingsGrid::addDescription(const QString& text, const QCheckBox* above) {
    const int inset = above != nullptr ? titleInset(*above) : 0;
    auto* label = new DescriptionLabel(text, kDescriptionWidth - inset);
    label->setContentsMargins(0, 0, 0, 0);
    auto* line = new QHBoxLayout;
    line->setContentsMargins(inset, -kRowGap + 2, 0, 0);
    line->addWidget(label);
    line->addStretch();
    layout_->addLayout(line, nextRow(), 1);
    return label;
}

void SettingsGrid::addWide(QWidget* widget) {
    layout_->addWidget(widget, nextRow(), 0, 1, 2);
}
// NOLINTEND(cppcoreguidelines-owning-memory)

void SettingsGrid::addGap() {
    layout_->setRowMinimumHeight(nextRow(), kSectionGap);
}

} // namespace zelvane
