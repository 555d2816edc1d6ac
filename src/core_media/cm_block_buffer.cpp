// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/cm_block_buffer.h"

#include <algorithm>
#include <utility>

namespace zelvane {

CMBlockBuffer::~CMBlockBuffer() {
    for (const auto& block : blocks_) {
        if (block.release) {
            block.release();
        }
    }
}

void CMBlockBuffer::appendMemoryBlock(std::span<const std::uint8_t> data,
                                      std::function<void()> release) {
    if (data.empty()) {
        if (release) {
            release();
        }
        return;
    }
    blocks_.push_back({data, std::move(release)});
    dataLength_ += data.size();
}

bool CMBlockBuffer::copyDataBytes(std::size_t offset, std::span<std::uint8_t> target) const {
    if (offset > dataLength_ || target.size() > dataLength_ - offset) {
        return false;
    }
    for (const auto& block : blocks_) {
        if (target.empty()) {
            break;
        }
        if (offset >= block.data.size()) {
            offset -= block.data.size();
            continue;
        }
        const std::size_t count = std::min(target.size(), block.data.size() - offset);
        std::copy_n(block.data.begin() + static_cast<std::ptrdiff_t>(offset), count,
                    target.begin());
        target = target.subspan(count);
        offset = 0;
    }
    return true;
}

} // namespace zelvane
