// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>

namespace zelvane::fuzz {

using Bytes = std::span<const std::uint8_t>;
/// Must return for any bytes within seconds, with less than 512 MB, without a sanitizer report.
using Target = void (*)(Bytes);

/// The targets of the program by name: all of them in the program that replays findings, none in
/// the libFuzzer programs.
inline std::map<std::string, Target>& targets() {
    static std::map<std::string, Target> byName;
    return byName;
}

struct TargetRegistration {
    TargetRegistration(const char* name, Target target) { targets().emplace(name, target); }
};

/// Initialises the process once, as main() does, and disables the log, which hostile input would
/// fill.
void prepare();

} // namespace zelvane::fuzz

// ZELVANE_FUZZ_TARGET(name, bytes) { ... } defines the one target of a file of that name.
#ifdef ZELVANE_FUZZ_REPLAY
#define ZELVANE_FUZZ_TARGET(name, bytes)                                                           \
    static void name##Target(zelvane::fuzz::Bytes bytes);                                          \
    static const zelvane::fuzz::TargetRegistration name##Registration(#name, name##Target);        \
    static void name##Target(zelvane::fuzz::Bytes bytes)
#else
#define ZELVANE_FUZZ_TARGET(name, bytes)                                                           \
    static void name##Target(zelvane::fuzz::Bytes bytes);                                          \
    extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {            \
        zelvane::fuzz::prepare();                                                                  \
        name##Target({data, size});                                                                \
        return 0;                                                                                  \
    }                                                                                              \
    static void name##Target(zelvane::fuzz::Bytes bytes)
#endif
