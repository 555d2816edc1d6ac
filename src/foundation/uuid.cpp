// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/uuid.h"

#include <cstdint>
#include <random>

#include <fmt/format.h>

namespace zelvane {

std::string makeUUIDString() {
    std::random_device device;
    const auto word = [&] { return static_cast<std::uint32_t>(device()); };
    const std::uint32_t versioned = (word() & 0xffff0fffU) | 0x00004000U;
    const std::uint32_t variant = (word() & 0x3fffffffU) | 0x80000000U;
    return fmt::format("{:08X}-{:04X}-{:04X}-{:04X}-{:04X}{:08X}", word(), versioned >> 16,
                       versioned & 0xffffU, variant >> 16, variant & 0xffffU, word());
}

} // namespace zelvane
