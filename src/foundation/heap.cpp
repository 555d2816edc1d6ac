// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/heap.h"

#include <cstdlib>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace zelvane {

void useOneHeap() {
#ifdef __GLIBC__
    constexpr int kHeaps = 1;
    mallopt(M_ARENA_MAX, kHeaps); // NOLINT(concurrency-mt-unsafe): no other thread runs yet
#endif
}

} // namespace zelvane
