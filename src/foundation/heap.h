// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane {

/// Tells the C library that this program's large memory is pictures and packets: it is asked of the
/// system and given back to it when it is free, where the library would after the first picture
/// keep it in a heap full of holes; and there is one heap, where the player's many threads would
/// each hold on to some that is free. For programs, at their start, before other threads.
void keepHeapSmall();

} // namespace zelvane
