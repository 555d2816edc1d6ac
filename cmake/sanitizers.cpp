// SPDX-License-Identifier: GPL-3.0-or-later
//
// Suppresses sanitizer reports about libraries that are not built with the sanitizers. The runtime
// of a sanitizer calls its function; in other builds the functions are unused.

// NOLINTBEGIN(bugprone-reserved-identifier)

extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
    // These libraries synchronise with atomics and pipes that the sanitizer does not see. FFmpeg
    // counts references to a buffer with atomics before it frees the buffer. The decoder of a
    // search has threads of its own, those of AV1 in libdav1d.
    return "race:libpulse\n"
           "race:libavutil.so\n"
           "race:libavcodec.so\n"
           "race:libdav1d.so\n";
}

extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    // Fontconfig keeps its configuration until the process ends.
    return "leak:libfontconfig\n";
}

// NOLINTEND(bugprone-reserved-identifier)
