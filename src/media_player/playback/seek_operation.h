// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "core_media/ffmpeg.h"
#include "foundation/cm_time.h"
#include "foundation/dispatch.h"

namespace zelvane {

/// A waiting seek, with the completions of all requests that it serves.
struct SeekOperation {
    struct CompletionHandlerInfo {
        std::shared_ptr<dispatch::Queue> queue;
        dispatch::Task handler;
    };

    /// Relative to the media's start, within the media.
    CMTime targetTime;
    /// In the order of the requests.
    std::vector<CompletionHandlerInfo> completionHandlers;
};

/// The waiting operation after a request for a newer target: that target, and all completions so
/// far. No completion is ever dropped.
SeekOperation foldedSeekOperation(std::optional<SeekOperation> waiting, const CMTime& targetTime,
                                  std::optional<SeekOperation::CompletionHandlerInfo> completion);

/// The nearest time to the target within media of that duration.
CMTime clampedSeekTarget(const CMTime& target, const CMTime& duration);

/// The duration of `count` frames, negative for a negative count; at 24000/1000 frames a second
/// when no rate is known. A product that overflows 64 bits stops the process.
CMTime frameStep(std::optional<AVRational> frameRate, std::int64_t count);

} // namespace zelvane
