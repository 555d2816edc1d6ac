// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/about_window.h"

#include <QCoreApplication>
#include <QDialog>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "application/library_versions.h"
#include "player_window/controls/control_colors.h"

namespace zelvane {
namespace {

constexpr int kMargin = 24;
constexpr int kTextGap = 4;
constexpr int kSectionGap = 16;
constexpr int kColumnGap = 24;
constexpr int kNameSize = 20;
constexpr int kTextSize = 13;
constexpr int kSmallSize = 12;
constexpr double kSmallOpacity = 0.65;

class AboutWindow {
    Q_DECLARE_TR_FUNCTIONS(AboutWindow)
};

// The layouts own the widgets. NOLINTBEGIN(cppcoreguidelines-owning-memory)
QLabel* makeLabel(const QString& text, int size, double opacity) {
    auto* label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->setWordWrap(true);
    QFont font = label->font();
    font.setPixelSize(size);
    label->setFont(font);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, control_colors::white(opacity));
    label->setPalette(palette);
    return label;
}

QLabel* makeHeader(const QString& text, int size) {
    QLabel* label = makeLabel(text, size, 1);
    QFont font = label->font();
    font.setWeight(QFont::DemiBold);
    label->setFont(font);
    return label;
}

QWidget* makeLibraryList() {
    auto* list = new QWidget;
    auto* grid = new QGridLayout(list);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(kColumnGap);
    grid->setVerticalSpacing(kTextGap);
    for (const LibraryVersion& library : librariesInUse()) {
        const int row = grid->rowCount();
        int column = 0;
        for (const std::string& text : {library.name, library.version, library.license}) {
            QLabel* label = makeLabel(QString::fromStdString(text), kSmallSize,
                                      column == 0 ? 1 : kSmallOpacity);
            label->setWordWrap(false);
            grid->addWidget(label, row, column++);
        }
    }
    grid->setColumnStretch(2, 1);
    return list;
}

void addCloseButton(QDialog& dialog, QVBoxLayout& layout) {
    auto* button = new QPushButton(AboutWindow::tr("Close"));
    button->setDefault(true);
    QObject::connect(button, &QPushButton::clicked, &dialog, &QDialog::close);
    layout.addWidget(button, 0, Qt::AlignRight);
}

} // namespace

QDialog* makeAboutWindow() {
    auto* dialog = new QDialog;
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(AboutWindow::tr("About Zelvane Player"));
    dialog->setPalette(control_colors::menuPalette());
    auto* layout = new QVBoxLayout(dialog);
    layout->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    layout->setSpacing(kTextGap);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(makeHeader(QStringLiteral("Zelvane Player"), kNameSize));
    layout->addWidget(
        makeLabel(AboutWindow::tr("Version %1").arg(ZELVANE_VERSION), kTextSize, kSmallOpacity));
    layout->addSpacing(kSectionGap);
    QLabel* license = makeLabel(
        AboutWindow::tr("This program is free software under the GNU General Public License, "
                        "version 3 or later (GPL-3.0-or-later). It comes without any warranty."),
        kTextSize, 1);
    QWidget* list = makeLibraryList();
    license->setFixedWidth(list->sizeHint().width());
    layout->addWidget(license);
    layout->addSpacing(kSectionGap);
    layout->addWidget(makeHeader(AboutWindow::tr("It uses these libraries:"), kTextSize));
    layout->addSpacing(kTextGap);
    layout->addWidget(list);
    layout->addSpacing(kSectionGap);
    addCloseButton(*dialog, *layout);
    return dialog;
}
// NOLINTEND(cppcoreguidelines-owning-memory)

} // namespace zelvane
