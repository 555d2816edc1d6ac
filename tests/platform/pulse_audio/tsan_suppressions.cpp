// SPDX-License-Identifier: GPL-3.0-or-later

// libpulse is not instrumented, so its own atomics and pipes between threads look like races.
extern "C" const char* __tsan_default_suppressions();  // NOLINT(bugprone-reserved-identifier)
extern "C" const char* __tsan_default_suppressions() { // NOLINT(bugprone-reserved-identifier)
    return "race:libpulse\n";
}
