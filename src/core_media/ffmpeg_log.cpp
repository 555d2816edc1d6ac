// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/ffmpeg_log.h"

#include <cstdlib>

#include "core_media/ffmpeg.h"

namespace zelvane {

void quietFFmpegLog() {
    if (std::getenv("ZELVANE_FFMPEG_LOG") == nullptr) { // NOLINT(concurrency-mt-unsafe)
        av_log_set_level(AV_LOG_QUIET);
    }
}

} // namespace zelvane
