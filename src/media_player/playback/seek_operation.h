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

/// A seek that waits for its turn, with the completions of all requests that it answers.
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

/// What waits once a newer target is asked for: that target, and all completions so far. None of
/// them is ever dropped.
SeekOperation foldedSeekOperation(std::optional<SeekOperation> waiting, const CMTime& targetTime,
                                  std::optional<SeekOperation::CompletionHandlerInfo> completion);

/// The target within media of that duration.
CMTime clampedSeekTarget(const CMTime& target, const CMTime& duration);

/// How long `count` frames last, less than nothing for a negative count; at 24000/1000 frames a
/// second when no rate is known. A product beyond 64 bits stops the process.
CMTime frameStep(std::optional<AVRational> frameRate, std::int64_t count);

} // namespace zelvane
