// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/window/title_bar.h"

#include <algorithm>
#include <optional>

#include <QContextMenuEvent>
#include <QLinearGradient>
#include <QMouseEvent>
#include <QPainter>

#include "player_window/controls/control_button.h"
#include "player_window/controls/control_colors.h"
#include "player_window/window/player_action.h"

namespace zelvane {
namespace {

constexpr int kFontSize = 13;
constexpr int kButtonSide = 30;
constexpr int kMargin = 11;
constexpr int kButtonGap = 6;
constexpr int kTitleGap = 12;
constexpr float kShade = 0.6F;
/// Down to the lower edge of the buttons the shade hardly fades: white symbols must stay visible
/// over snow.
constexpr double kEndOfSymbols = 0.7;
constexpr float kShadeUnderSymbols = 0.48F;

ControlSymbol symbolOf(WindowButton button, bool isFullScreen) {
    switch (button) {
    case WindowButton::minimize:
        return ControlSymbol::minimize;
    case WindowButton::fullScreen:
        return isFullScreen ? ControlSymbol::leaveFullScreen : ControlSymbol::fullScreen;
    case WindowButton::close:
        break;
    }
    return ControlSymbol::close;
}

QString nameOf(WindowButton button, bool isFullScreen) {
    switch (button) {
    case WindowButton::minimize:
        return TitleBar::tr("Minimize");
    case WindowButton::fullScreen:
        return isFullScreen ? TitleBar::tr("Leave Full Screen") : TitleBar::tr("Enter Full Screen");
    case WindowButton::close:
        break;
    }
    return TitleBar::tr("Close");
}

std::optional<PlayerAction> actionOf(WindowButton button) {
    switch (button) {
    case WindowButton::minimize:
        return std::nullopt;
    case WindowButton::fullScreen:
        return PlayerAction::toggleFullScreen;
    case WindowButton::close:
        break;
    }
    return PlayerAction::closeWindow;
}

int widthOf(std::size_t buttonCount) {
    return static_cast<int>(buttonCount) * (kButtonSide + kButtonGap);
}

} // namespace

/// The title in the middle of the bar, or of what the buttons leave of it.
class TitleBar::TitleText final : public QWidget, public AccessibleWidget {
  public:
    TitleText(const QString& title, const QRect& room, QWidget* parent)
        : QWidget(parent), title_(title), room_(room) {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        QFont font = this->font();
        font.setPixelSize(kFontSize);
        font.setWeight(QFont::DemiBold);
        setFont(font);
    }

    QAccessibleInterface* makeAccessible() override {
        // The toolkit owns it. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
        return new QAccessibleWidget(this, QAccessible::StaticText);
    }

  protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        painter.setPen(Qt::white);
        const QString text = fontMetrics().elidedText(title_, Qt::ElideMiddle, room_.width());
        const int width = fontMetrics().horizontalAdvance(text);
        const int left = room_.x();
        const int x = std::clamp((this->width() - width) / 2, left,
                                 std::max(left + room_.width() - width, left));
        painter.drawText(QRect(x, 0, width + 1, height()), Qt::AlignVCenter | Qt::AlignLeft, text);
    }

  private:
    const QString& title_;
    const QRect& room_;
};

// All widgets belong to this one. NOLINTBEGIN(cppcoreguidelines-owning-memory)
TitleBar::TitleBar(Ground ground, QWidget* parent)
    : FadingPanel(parent), ground_(ground), content_(new QWidget(this)),
      titleText_(new TitleText(title_, titleRoom_, content_)),
      menuButton_(new ControlButton(ControlSymbol::menu, tr("Menu"), content_)) {
    setAccessibleName(tr("Title Bar"));
    setContent(content_);
    makeButtons();
}

void TitleBar::addButtons(const std::vector<WindowButton>& kinds, std::vector<Button>& buttons) {
    for (const WindowButton kind : kinds) {
        if (kind == WindowButton::fullScreen && !canFillScreen_) {
            continue;
        }
        auto* widget =
            new ControlButton(symbolOf(kind, isFullScreen_), nameOf(kind, isFullScreen_), content_);
        if (const auto action = actionOf(kind)) {
            widget->setKeyOf(*action);
        }
        connect(widget, &ControlButton::clicked, this, [this, kind] { emit buttonClicked(kind); });
        widget->show();
        buttons.push_back({kind, widget});
    }
}
// NOLINTEND(cppcoreguidelines-owning-memory)

void TitleBar::setButtonLayout(const ButtonLayout& layout, bool canFillScreen) {
    // New buttons would lose the focus.
    if (layout == layout_ && canFillScreen == canFillScreen_) {
        return;
    }
    layout_ = layout;
    canFillScreen_ = canFillScreen;
    makeButtons();
}

void TitleBar::makeButtons() {
    for (auto* side : {&left_, &right_}) {
        for (const Button& button : *side) {
            button.widget->deleteLater();
        }
        side->clear();
    }
    addButtons(layout_.left, left_);
    addButtons(layout_.right, right_);
    layOut();
}

std::vector<QWidget*> TitleBar::buttons() const {
    std::vector<QWidget*> buttons;
    for (const Button& button : left_) {
        buttons.push_back(button.widget);
    }
    buttons.push_back(menuButton_);
    for (const Button& button : right_) {
        buttons.push_back(button.widget);
    }
    return buttons;
}

void TitleBar::setFullScreen(bool fullScreen) {
    isFullScreen_ = fullScreen;
    for (const auto* side : {&left_, &right_}) {
        for (const Button& button : *side) {
            button.widget->setSymbol(symbolOf(button.kind, fullScreen),
                                     nameOf(button.kind, fullScreen));
        }
    }
}

void TitleBar::setTitle(const QString& title) {
    title_ = title;
    titleText_->setAccessibleName(title);
    titleText_->update();
}

QAccessibleInterface* TitleBar::makeAccessible() {
    // The toolkit owns it. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    return new QAccessibleWidget(this, QAccessible::Grouping);
}

void TitleBar::layOut() {
    const int y = (height() - kButtonSide) / 2;
    int x = kMargin;
    const auto placeAtX = [&](QWidget& widget) {
        widget.setGeometry(x, y, kButtonSide, kButtonSide);
        x += kButtonSide + kButtonGap;
    };
    for (const Button& button : left_) {
        placeAtX(*button.widget);
    }
    placeAtX(*menuButton_);
    const int leftEnd = x - kButtonGap + kTitleGap;
    x = width() - kMargin + kButtonGap - widthOf(right_.size());
    const int rightStart = x - kTitleGap;
    for (const Button& button : right_) {
        placeAtX(*button.widget);
    }
    titleRoom_ = QRect(leftEnd, 0, std::max(rightStart - leftEnd, 0), height());
    titleText_->setGeometry(rect());
    titleText_->update();
}

void TitleBar::resizeEvent(QResizeEvent* event) {
    FadingPanel::resizeEvent(event);
    layOut();
}

void TitleBar::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::MiddleButton) {
        emit middleClicked(event->globalPosition().toPoint());
    } else {
        // The window moves by it.
        event->ignore();
    }
}

void TitleBar::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        emit doubleClicked(event->globalPosition().toPoint());
    }
}

void TitleBar::contextMenuEvent(QContextMenuEvent* event) {
    // The menu key is no click: it opens the window's menu whatever a right click does.
    const bool isClick = event->reason() == QContextMenuEvent::Mouse;
    event->setAccepted(isClick);
    if (isClick) {
        emit rightClicked(event->globalPos());
    }
}

void TitleBar::paintGround(QPainter& painter) {
    if (ground_ == Ground::plain) {
        return;
    }
    if (control_colors::increasesContrast()) {
        painter.fillRect(rect(), control_colors::kPanel);
        painter.fillRect(0, height() - 1, width(), 1, control_colors::hairline());
        return;
    }
    QLinearGradient shade(0, 0, 0, height());
    shade.setColorAt(0, QColor::fromRgbF(0, 0, 0, kShade));
    shade.setColorAt(kEndOfSymbols, QColor::fromRgbF(0, 0, 0, kShadeUnderSymbols));
    shade.setColorAt(1, Qt::transparent);
    painter.fillRect(rect(), shade);
}

} // namespace zelvane
