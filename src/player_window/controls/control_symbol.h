// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QPixmap>
#include <QString>

namespace zelvane {

/// The symbols of the controls, each one vector file of this project.
enum class ControlSymbol {
    play,
    pause,
    jumpBack,
    jumpForward,
    volume,
    volumeLow,
    volumeMuted,
    tracks,
    pictureInPicture,
    fullScreen,
    leaveFullScreen,
    menu,
    minimize,
    close,
    checkmark,
    mediaFile,
};

/// The symbol at `size` points on a screen of `devicePixelRatio`, in one colour. Kept for the next
/// call. Main thread.
QPixmap controlSymbolPixmap(ControlSymbol symbol, double size, double devicePixelRatio,
                            const QColor& tint);

/// The same for a vector file in a resource of the program.
QPixmap symbolPixmap(const QString& file, double size, double devicePixelRatio, const QColor& tint);

} // namespace zelvane
