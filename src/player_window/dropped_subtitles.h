// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <vector>

#include "foundation/url.h"

class QMimeData;

namespace zelvane {

/// The subtitle file in dropped data: the first URL, if it is a file, not a folder, with the
/// extension of a subtitle format.
std::optional<URL> droppedSubtitles(const QMimeData& data);

/// The files in dropped data that may be media: all but folders and subtitles.
std::vector<URL> droppedMedia(const QMimeData& data);

} // namespace zelvane
