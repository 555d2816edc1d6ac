// SPDX-License-Identifier: GPL-3.0-or-later
#include <chrono>

#include <gmock/gmock.h>

#include "foundation/dispatch.h"

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    const int result = RUN_ALL_TESTS();
    // Threads that are still ending would race the destruction of static objects.
    zelvane::dispatch::waitForQuiescence(std::chrono::seconds(5));
    return result;
}
