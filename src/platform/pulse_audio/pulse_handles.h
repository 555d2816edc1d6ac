// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include <pulse/pulseaudio.h>

#include "foundation/release.h"

namespace zelvane::pulse {

using Mainloop = std::unique_ptr<pa_threaded_mainloop, Release<pa_threaded_mainloop_free>>;
using Context = std::unique_ptr<pa_context, Release<pa_context_unref>>;
using Stream = std::unique_ptr<pa_stream, Release<pa_stream_unref>>;
using Properties = std::unique_ptr<pa_proplist, Release<pa_proplist_free>>;
using Operation = std::unique_ptr<pa_operation, Release<pa_operation_unref>>;

/// Holds the lock of the main loop. All objects of libpulse are used under it; callbacks run under
/// it.
class Lock {
  public:
    explicit Lock(pa_threaded_mainloop* mainloop) : mainloop_(mainloop) {
        pa_threaded_mainloop_lock(mainloop_);
    }
    ~Lock() { pa_threaded_mainloop_unlock(mainloop_); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

  private:
    pa_threaded_mainloop* mainloop_;
};

/// Releases the handle of a request, which continues.
inline void detach(pa_operation* operation) {
    const Operation released(operation);
}

} // namespace zelvane::pulse
