// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane {

/// Sets up the C library's allocator for large, short-lived blocks (pictures, packets): they are
/// mapped from the system and unmapped when freed, in place of fragmenting the heap; and all
/// threads share one heap, in place of keeping free memory in many. Call at the start of main(),
/// before other threads.
void keepHeapSmall();

} // namespace zelvane
