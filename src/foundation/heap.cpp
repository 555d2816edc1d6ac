// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/heap.h"

#include <cstdlib>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace zelvane {

void keepHeapSmall() {
#ifdef __GLIBC__
    constexpr int kHeaps = 1;
    // Small pictures and most packets are smaller. A value that is set does not grow by itself.
    constexpr int kLarge = 256 << 10;
    constexpr int kKeptAtTheEnd = 2 << 20;
    // NOLINTBEGIN(concurrency-mt-unsafe): no other thread runs yet
    mallopt(M_ARENA_MAX, kHeaps);
    mallopt(M_MMAP_THRESHOLD, kLarge);
    mallopt(M_TRIM_THRESHOLD, kKeptAtTheEnd);
    // NOLINTEND(concurrency-mt-unsafe)
#endif
}

} // namespace zelvane
