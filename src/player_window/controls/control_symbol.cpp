// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/control_symbol.h"

#include <cmath>

#include <QPainter>
#include <QPixmapCache>
#include <QSvgRenderer>

// Outside of namespaces, as the macro asks.
static void initializeSymbols() {
    Q_INIT_RESOURCE(symbols);
}

namespace zelvane {
namespace {

QString fileName(ControlSymbol symbol) {
    switch (symbol) {
    case ControlSymbol::play:
        return QStringLiteral("play");
    case ControlSymbol::pause:
        return QStringLiteral("pause");
    case ControlSymbol::jumpBack:
        return QStringLiteral("jump-back");
    case ControlSymbol::jumpForward:
        return QStringLiteral("jump-forward");
    case ControlSymbol::volume:
        return QStringLiteral("volume");
    case ControlSymbol::volumeLow:
        return QStringLiteral("volume-low");
    case ControlSymbol::volumeMuted:
        return QStringLiteral("volume-muted");
    case ControlSymbol::tracks:
        return QStringLiteral("tracks");
    case ControlSymbol::pictureInPicture:
        return QStringLiteral("picture-in-picture");
    case ControlSymbol::fullScreen:
        return QStringLiteral("full-screen");
    case ControlSymbol::leaveFullScreen:
        return QStringLiteral("leave-full-screen");
    case ControlSymbol::menu:
        return QStringLiteral("menu");
    case ControlSymbol::minimize:
        return QStringLiteral("minimize");
    case ControlSymbol::close:
        return QStringLiteral("close");
    case ControlSymbol::checkmark:
        return QStringLiteral("checkmark");
    case ControlSymbol::mediaFile:
        return QStringLiteral("media-file");
    }
    return {};
}

QPixmap render(const QString& file, int pixels, double devicePixelRatio, const QColor& tint) {
    QPixmap pixmap(pixels, pixels);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    QSvgRenderer(file).render(&painter);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(pixmap.rect(), tint);
    painter.end();
    pixmap.setDevicePixelRatio(devicePixelRatio);
    return pixmap;
}

} // namespace

QPixmap controlSymbolPixmap(ControlSymbol symbol, double size, double devicePixelRatio,
                            const QColor& tint) {
    initializeSymbols();
    return symbolPixmap(QStringLiteral(":/symbols/%1.svg").arg(fileName(symbol)), size,
                        devicePixelRatio, tint);
}

QPixmap symbolPixmap(const QString& file, double size, double devicePixelRatio,
                     const QColor& tint) {
    const int pixels = static_cast<int>(std::lround(size * devicePixelRatio));
    const QString key = QStringLiteral("symbol/%1/%2/%3/%4")
                            .arg(file, QString::number(pixels), QString::number(devicePixelRatio),
                                 tint.name(QColor::HexArgb));
    QPixmap pixmap;
    if (!QPixmapCache::find(key, &pixmap)) {
        pixmap = render(file, pixels, devicePixelRatio, tint);
        QPixmapCache::insert(key, pixmap);
    }
    return pixmap;
}

} // namespace zelvane
