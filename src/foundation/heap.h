// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane {

/// Keeps the C library from giving each thread a heap of its own: large memory comes from pools
/// anyway, and the player's many threads would each hold on to some that is free. For programs, at
/// their start, before other threads.
void useOneHeap();

} // namespace zelvane
