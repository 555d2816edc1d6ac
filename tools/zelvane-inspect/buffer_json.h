// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core_media/cm_sample_buffer.h"
#include "json_text.h"

namespace zelvane::inspect {

/// A picture: its times in seconds from `start`, its format, attachments and a digest of its
/// pixels.
Json frameJson(const CMSampleBuffer& buffer, const CMTime& start);
/// The same for audio frames.
Json audioJson(const CMSampleBuffer& buffer, const CMTime& start);

} // namespace zelvane::inspect
