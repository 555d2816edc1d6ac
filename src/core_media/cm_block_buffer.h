// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "foundation/checked_call.h"

namespace zelvane {

/// A chain of memory blocks read as one run of bytes. Each block carries what releases it, which
/// runs once when the chain goes. Filled by one thread; shared read-only afterwards.
class CMBlockBuffer {
  public:
    CMBlockBuffer() = default;
    ~CMBlockBuffer();
    CMBlockBuffer(const CMBlockBuffer&) = delete;
    CMBlockBuffer& operator=(const CMBlockBuffer&) = delete;

    /// Appends `data`, which `release` gives back. Answers kNoErr; an empty block is released at
    /// once and leaves no trace.
    OSStatus appendMemoryBlock(std::span<const std::uint8_t> data, std::function<void()> release);

    std::size_t dataLength() const { return dataLength_; }
    std::size_t blockCount() const { return blocks_.size(); }
    std::span<const std::uint8_t> block(std::size_t index) const { return blocks_[index].data; }
    /// Copies `target.size()` bytes from `offset` on; false, with nothing copied, when the chain is
    /// shorter.
    bool copyDataBytes(std::size_t offset, std::span<std::uint8_t> target) const;

  private:
    struct Block {
        std::span<const std::uint8_t> data;
        std::function<void()> release;
    };
    std::vector<Block> blocks_;
    std::size_t dataLength_ = 0;
};

} // namespace zelvane
