// SPDX-License-Identifier: GPL-3.0-or-later
//
// What the sanitizers should not report: faults of libraries that are not built with them. Each
// function is called by its sanitizer's runtime, and by nobody in a build without it.

// NOLINTBEGIN(bugprone-reserved-identifier)

extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
    // Its atomics and the pipes between its threads look like races.
    return "race:libpulse\n";
}

extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    // Keeps its configuration for the life of the process.
    return "leak:libfontconfig\n";
}

// NOLINTEND(bugprone-reserved-identifier)
