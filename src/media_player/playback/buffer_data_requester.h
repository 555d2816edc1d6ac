// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>

#include "foundation/dispatch.h"

namespace zelvane {

/// Turns the fill level of whoever shows frames into requests to whoever reads them, for what has
/// no pull of its own: at the low mark it asks, and the reader reads on until the high mark.
///
///                count at or below the low mark
///     at rest ----------------------------------> asking: the producer's block is run
///        ^                                           |
///        +-------------------------------------------+
///          the block has ended; only the next change of the count, or of the producer, looks again
///
/// Any thread.
class BufferDataRequester {
  public:
    /// Who is asked: `block` runs on `queue`.
    struct DataProducer {
        std::shared_ptr<dispatch::Queue> queue;
        dispatch::Task block;
    };

    /// Marks in frames.
    BufferDataRequester(int lowWaterMark, int highWaterMark);

    /// How many frames are held now.
    void setBufferCount(int bufferCount) const;
    /// Nobody is asked without a producer.
    void setDataProducer(std::optional<DataProducer> dataProducer) const;
    /// Whether a reader shall go on that has handed on `underWay` frames which are not counted yet.
    bool shouldProvideMoreData(int underWay = 0) const;

  private:
    class Internals;
    std::shared_ptr<Internals> internals_;
};

} // namespace zelvane
