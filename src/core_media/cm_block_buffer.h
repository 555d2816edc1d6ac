// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace zelvane {

/// A chain of memory blocks that is read as one sequence of bytes. Each block has a function that
/// releases it, which runs once when the chain is destroyed. Filled by one thread; shared read-only
/// afterwards.
class CMBlockBuffer {
  public:
    CMBlockBuffer() = default;
    ~CMBlockBuffer();
    CMBlockBuffer(const CMBlockBuffer&) = delete;
    CMBlockBuffer& operator=(const CMBlockBuffer&) = delete;

    /// Appends `data`, which `release` frees. An empty block is released at once and not appended.
    void appendMemoryBlock(std::span<const std::uint8_t> data, std::function<void()> release);

    std::size_t dataLength() const { return dataLength_; }
    std::size_t blockCount() const { return blocks_.size(); }
    std::span<const std::uint8_t> block(std::size_t index) const { return blocks_[index].data; }
    /// Copies `target.size()` bytes from `offset`; false, with nothing copied, when the chain is
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
