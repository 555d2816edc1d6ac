// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "foundation/url.h"

class QMimeData;

namespace zelvane {

/// The file of subtitles that is being dropped: the first URL, where that names a file, and no
/// folder, by an extension that is known as subtitles.
std::optional<URL> droppedSubtitles(const QMimeData& data);

} // namespace zelvane
