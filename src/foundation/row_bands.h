// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

namespace zelvane {

/// A range of rows and the number of the worker that processes it.
struct RowBand {
    int worker = 0;
    int first = 0;
    int end = 0;
};

/// Calls `work` for `rows` rows in bands of `rowsPerBand`, on the calling thread (worker 0) and up
/// to `workers` - 1 threads of the shared pool, and returns when all rows are done. Each worker
/// takes the next band when it has finished one. A helper that has not started is not waited for,
/// so on a busy machine the caller does the work. A worker number is used by one thread at a time.
/// `work` must not throw.
void forEachBand(int rows, int rowsPerBand, int workers,
                 const std::function<void(const RowBand&)>& work);

} // namespace zelvane
