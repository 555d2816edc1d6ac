// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/file_icon.h"

#include <QMimeDatabase>

#include "player_window/controls/control_colors.h"
#include "player_window/controls/control_symbol.h"

namespace zelvane {
namespace {

constexpr double kSymbolSize = 32;

QIcon symbolIcon() {
    QIcon icon;
    for (const double scale : {1.0, 1.5, 2.0, 3.0}) {
        icon.addPixmap(controlSymbolPixmap(ControlSymbol::mediaFile, kSymbolSize, scale,
                                           control_colors::symbol()));
    }
    return icon;
}

} // namespace

QIcon fileIcon(const QString& fileName) {
    const QMimeType type = QMimeDatabase().mimeTypeForFile(fileName, QMimeDatabase::MatchExtension);
    for (const QString& name : {type.iconName(), type.genericIconName()}) {
        if (QIcon::hasThemeIcon(name)) {
            return QIcon::fromTheme(name);
        }
    }
    return symbolIcon();
}

} // namespace zelvane
