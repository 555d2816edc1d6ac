// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <optional>

#include <QImage>
#include <QString>

#include "foundation/geometry.h"

namespace zelvane {

class PictureView;

/// The picture as it is seen, with its subtitles and without the bars around it, in device pixels.
/// `shape` is that of the video; none for the whole view. Main thread.
QImage screenshotOf(PictureView& view, const std::optional<CGSize>& shape);

/// A file name for a screenshot of `title` at that time, without its extension:
/// "The Ferryman 00-41-07".
QString screenshotName(const QString& title, double seconds);

/// Writes a PNG into the folder in the background, under the name or, where it is taken, with a
/// number after it. Calls `completion` on the main queue with the file's name; empty if it could
/// not be written.
void saveScreenshot(const QImage& image, const QString& folder, const QString& name,
                    std::function<void(const QString& fileName)> completion);

} // namespace zelvane
