// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/player/screenshot.h"

#include <utility>

#include <QDir>
#include <QFile>
#include <QPixmap>

#include "foundation/dispatch.h"
#include "player_window/controls/time_formatter.h"
#include "player_window/controls/widget_geometry.h"
#include "player_window/picture_view.h"
#include "player_window/views/player_view_layout.h"

namespace zelvane {
namespace {

/// File systems allow 255 bytes for a name, and a character has up to 4.
constexpr int kLongestTitle = 50;
constexpr int kMostAttempts = 10'000;

/// Characters that a file name must not have, or that desktops show badly.
QString safeTitle(const QString& title) {
    QString safe;
    for (const QChar character : title.simplified()) {
        const bool isSafe = character.isPrint() && character != '/' && character != '\\';
        safe += isSafe ? character : QChar('-');
    }
    while (safe.startsWith('.')) {
        safe.remove(0, 1);
    }
    return safe.left(kLongestTitle).trimmed();
}

/// Creates the file itself, so that no other file is replaced. Empty when no name is free or the
/// folder does not permit it.
QString writeUnderFreeName(const QImage& image, const QDir& folder, const QString& name) {
    if (!folder.mkpath(QStringLiteral("."))) {
        return {};
    }
    for (int number = 1; number <= kMostAttempts; ++number) {
        QString fileName = number == 1
                               ? name + QStringLiteral(".png")
                               : QStringLiteral("%1 (%2).png").arg(name, QString::number(number));
        if (folder.exists(fileName)) {
            continue;
        }
        QFile file(folder.filePath(fileName));
        if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
            return {};
        }
        if (image.save(&file, "PNG") && file.flush()) {
            return fileName;
        }
        file.remove();
        return {};
    }
    return {};
}

} // namespace

QImage screenshotOf(PictureView& view, const std::optional<CGSize>& shape) {
    const QImage seen = view.grab().toImage();
    const CGRect rect = largestRectOfShape(shape.value_or(CGSize{}), sizeOf(seen.size()));
    QImage picture = seen.copy(nearestPoints(rect));
    picture.setDevicePixelRatio(1);
    return picture;
}

QString screenshotName(const QString& title, double seconds) {
    const QString time = QString::fromStdString(TimeFormatter(true).string(seconds));
    const QString safe = safeTitle(title);
    return (safe.isEmpty() ? QStringLiteral("Screenshot") : safe) + ' ' +
           QString(time).replace(':', '-');
}

void saveScreenshot(const QImage& image, const QString& folder, const QString& name,
                    std::function<void(const QString& fileName)> completion) {
    dispatch::globalQueue(dispatch::QualityOfService::userInitiated)
        ->async([image, folder, name, completion = std::move(completion)] {
            const QString fileName = writeUnderFreeName(image, QDir(folder), name);
            dispatch::mainQueue()->async([completion, fileName] { completion(fileName); });
        });
}

} // namespace zelvane
