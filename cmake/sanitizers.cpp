// SPDX-License-Identifier: GPL-3.0-or-later
//
// What the sanitizers should not report: faults of libraries that are not built with them. Each
// function is called by its sanitizer's runtime, and by nobody in a build without it.

// NOLINTBEGIN(bugprone-reserved-identifier)

extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
    // Of the first, atomics and the pipes between its threads look like races; the second counts
    // the references to a pool by atomics before it destroys the pool's mutex.
    return "race:libpulse\n"
           "race:av_buffer_pool_uninit\n";
}

extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    // Keeps its configuration for the life of the process.
    return "leak:libfontconfig\n";
}

// NOLINTEND(bugprone-reserved-identifier)
