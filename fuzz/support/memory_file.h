// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "fuzz/fuzz_target.h"

namespace zelvane::fuzz {

/// A file in memory, so that a million runs do not write to a disk. Demuxers may open its path any
/// number of times during its lifetime.
class MemoryFile {
  public:
    explicit MemoryFile(Bytes bytes) : descriptor_(memfd_create("fuzz", MFD_CLOEXEC)) {
        if (descriptor_ < 0) {
            std::abort();
        }
        while (!bytes.empty()) {
            const auto count = write(descriptor_, bytes.data(), bytes.size());
            if (count <= 0) {
                std::abort();
            }
            bytes = bytes.subspan(static_cast<std::size_t>(count));
        }
    }
    ~MemoryFile() { close(descriptor_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

  private:
    int descriptor_;
};

} // namespace zelvane::fuzz
