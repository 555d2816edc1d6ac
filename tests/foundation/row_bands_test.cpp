// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/row_bands.h"

#include <atomic>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace zelvane {
namespace {

TEST(RowBands, processesEachRowOnceAndUsesAWorkerOnOneThreadAtATime) {
    constexpr int kWorkers = 4;
    for (const int rows : {1, 7, 64, 1001}) {
        std::vector<std::atomic<int>> done(static_cast<std::size_t>(rows));
        std::vector<std::atomic<int>> busy(kWorkers);
        std::atomic<bool> isTorn{false};
        forEachBand(rows, 8, kWorkers, [&](const RowBand& band) {
            auto& users = busy.at(static_cast<std::size_t>(band.worker));
            isTorn = isTorn || users.fetch_add(1) != 0;
            for (int row = band.first; row < band.end; ++row) {
                ++done.at(static_cast<std::size_t>(row));
            }
            --users;
        });
        EXPECT_FALSE(isTorn);
        for (const auto& count : done) {
            EXPECT_EQ(count, 1) << rows;
        }
    }
}

TEST(RowBands, runsBandsInParallel) {
    std::atomic<int> together{0};
    std::set<int> workers;
    std::mutex mutex;
    // Each band waits for the other one, so a single thread would never finish.
    forEachBand(2, 1, 2, [&](const RowBand& band) {
        ++together;
        while (together < 2) {
            std::this_thread::yield();
        }
        const std::lock_guard lock(mutex);
        workers.insert(band.worker);
    });
    EXPECT_EQ(workers, (std::set{0, 1}));
}

TEST(RowBands, runsOneWorkerOnTheCallingThread) {
    const auto caller = std::this_thread::get_id();
    forEachBand(100, 8, 1, [&](const RowBand& band) {
        EXPECT_EQ(band.worker, 0);
        EXPECT_EQ(std::this_thread::get_id(), caller);
    });
}

} // namespace
} // namespace zelvane
