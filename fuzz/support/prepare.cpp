// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/ffmpeg_log.h"
#include "core_media/ffmpeg_memory.h"
#include "foundation/log.h"
#include "fuzz/fuzz_target.h"

namespace zelvane::fuzz {

void prepare() {
    static const ScopedLogSink silence([](std::string_view) {});
    static const bool isQuiet = [] {
        quietFFmpegLog();
        limitFFmpegAllocations();
        return true;
    }();
    static_cast<void>(isQuiet);
}

} // namespace zelvane::fuzz
