// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core_media/cv_pixel_buffer.h"

namespace zelvane {

/// The picture itself when it lies in memory, else a copy of it that does, with its attachments.
/// Null, with a line in the log, when the device does not give it away. Any thread.
CVPixelBufferRef pictureInMemory(const CVPixelBufferRef& picture);

} // namespace zelvane
