// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/row_bands.h"

#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <system_error>

#include "foundation/dispatch.h"

namespace zelvane {
namespace {

/// Shared with helpers, which may start after forEachBand has returned; those do not use `work_`.
class Bands {
  public:
    Bands(int rows, int rowsPerBand, const std::function<void(const RowBand&)>& work)
        : rows_(rows), rowsPerBand_(rowsPerBand), work_(work) {}

    void runAs(int worker) {
        std::unique_lock lock(mutex_);
        while (next_ < rows_) {
            const int first = next_;
            next_ += rowsPerBand_;
            ++runningCount_;
            lock.unlock();
            work_({worker, first, std::min(first + rowsPerBand_, rows_)});
            lock.lock();
            --runningCount_;
        }
        idle_.notify_all();
    }

    /// To be called when no band is left.
    void waitForOthers() {
        std::unique_lock lock(mutex_);
        idle_.wait(lock, [this] { return runningCount_ == 0; });
    }

  private:
    const int rows_;
    const int rowsPerBand_;
    const std::function<void(const RowBand&)>& work_;
    std::mutex mutex_;
    std::condition_variable idle_;
    int next_ = 0;
    int runningCount_ = 0;
};

} // namespace

void forEachBand(int rows, int rowsPerBand, int workers,
                 const std::function<void(const RowBand&)>& work) {
    const auto bands = std::make_shared<Bands>(rows, rowsPerBand, work);
    const int bandCount = (rows + rowsPerBand - 1) / rowsPerBand;
    for (int worker = 1; worker < std::min(workers, bandCount); ++worker) {
        try {
            dispatch::globalQueue(dispatch::QualityOfService::userInteractive)
                ->async([bands, worker] { bands->runAs(worker); });
        } catch (const std::system_error&) {
            // Fewer workers do the same work.
            break;
        }
    }
    bands->runAs(0);
    bands->waitForOthers();
}

} // namespace zelvane
