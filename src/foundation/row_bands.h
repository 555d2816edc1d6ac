// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

namespace zelvane {

/// Some neighbouring rows, and which of the workers does them.
struct RowBand {
    int worker = 0;
    int first = 0;
    int end = 0;
};

/// Does `rows` rows in bands of `rowsPerBand`, on the calling thread (worker 0) and on up to
/// `workers` - 1 threads of the shared pool, and returns when all are done. Each takes the next
/// band when it has done one, and nobody waits for a helper that the system has not let run yet: on
/// a busy machine the caller does the work itself. A worker's number is on one thread at a time.
/// `work` must not throw.
void forEachBand(int rows, int rowsPerBand, int workers,
                 const std::function<void(const RowBand&)>& work);

} // namespace zelvane
