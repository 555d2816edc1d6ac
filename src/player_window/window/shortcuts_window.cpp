// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/window/shortcuts_window.h"

#include <algorithm>
#include <initializer_list>

#include <QCoreApplication>
#include <QDialog>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>

#include "player_window/controls/control_colors.h"
#include "player_window/window/player_action.h"

namespace zelvane {
namespace {

constexpr int kMargin = 20;
constexpr int kRowGap = 5;
constexpr int kKeyGap = 24;
constexpr int kColumnGap = 32;
constexpr int kSectionGap = 14;
constexpr int kFontSize = 13;
constexpr double kTitleOpacity = 0.60;

class ShortcutsWindow {
    Q_DECLARE_TR_FUNCTIONS(ShortcutsWindow)
};

QString keyTextOf(PlayerAction action) {
    QStringList texts;
    for (const QKeySequence& key : keysOf(action)) {
        texts << key.toString(QKeySequence::NativeText);
    }
    return texts.join(QStringLiteral(", "));
}

void addLabel(QGridLayout& grid, int column, const QString& text, bool isTitle) {
    // The grid's widget owns it. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    auto* label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    QFont font = label->font();
    font.setPixelSize(isTitle ? kFontSize - 1 : kFontSize);
    font.setWeight(isTitle ? QFont::DemiBold : QFont::Normal);
    label->setFont(font);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText,
                     isTitle ? control_colors::white(kTitleOpacity) : control_colors::symbol());
    label->setPalette(palette);
    const int row = grid.rowCount() - (column == 0 ? 0 : 1);
    grid.addWidget(label, row, column, 1, isTitle ? 2 : 1);
}

/// One group of actions below its title.
void addGroup(QGridLayout& grid, PlayerActionGroup group) {
    // Labels that have no parent yet do not count for isEmpty().
    if (grid.count() > 0) {
        grid.setRowMinimumHeight(grid.rowCount(), kSectionGap);
    }
    addLabel(grid, 0, titleOf(group), true);
    for (const PlayerActionInfo& info : playerActions()) {
        const QString keys = keyTextOf(info.action);
        if (info.group == group && !keys.isEmpty()) {
            addLabel(grid, 0, titleOf(info.action), false);
            addLabel(grid, 1, keys, false);
        }
    }
}

/// A column of groups. Columns have grids of their own: in one grid, the rows of one would make the
/// gaps of the other unequal.
void addColumn(QHBoxLayout& columns, std::initializer_list<PlayerActionGroup> groups) {
    // The layout above owns it. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    auto* grid = new QGridLayout;
    grid->setHorizontalSpacing(kKeyGap);
    grid->setVerticalSpacing(kRowGap);
    for (const PlayerActionGroup group : groups) {
        addGroup(*grid, group);
    }
    grid->setRowStretch(grid->rowCount(), 1);
    columns.addLayout(grid);
}

} // namespace

// The parent owns all of it. NOLINTBEGIN(cppcoreguidelines-owning-memory)
QDialog* makeShortcutsWindow(QWidget* parent) {
    auto* dialog = new QDialog(parent);
    dialog->setWindowTitle(ShortcutsWindow::tr("Keyboard Shortcuts"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    // The whole palette, so that scroll bars are dark too.
    dialog->setPalette(QPalette(control_colors::kAudioWindow));

    auto* list = new QWidget;
    auto* columns = new QHBoxLayout(list);
    columns->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    columns->setSpacing(kColumnGap);
    using Group = PlayerActionGroup;
    addColumn(*columns, {Group::playback, Group::speed});
    addColumn(*columns, {Group::sound, Group::subtitles, Group::window, Group::file});

    auto* area = new QScrollArea(dialog);
    area->setFrameShape(QFrame::NoFrame);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setWidget(list);
    area->setWidgetResizable(true);
    auto* layout = new QVBoxLayout(dialog);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(area);

    const QSize wanted = list->sizeHint() + QSize(area->verticalScrollBar()->sizeHint().width(), 0);
    const int available = dialog->screen()->availableGeometry().height();
    constexpr double kMostOfScreen = 0.8;
    dialog->resize(wanted.width(),
                   std::min(wanted.height(), static_cast<int>(available * kMostOfScreen)));
    return dialog;
}
// NOLINTEND(cppcoreguidelines-owning-memory)

} // namespace zelvane
