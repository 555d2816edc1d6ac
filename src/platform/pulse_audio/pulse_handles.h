// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include <pulse/pulseaudio.h>

namespace zelvane::pulse {

template <auto release>
struct Release {
    template <class Object>
    void operator()(Object* object) const {
        release(object);
    }
};

using Mainloop = std::unique_ptr<pa_threaded_mainloop, Release<pa_threaded_mainloop_free>>;
using Context = std::unique_ptr<pa_context, Release<pa_context_unref>>;
using Stream = std::unique_ptr<pa_stream, Release<pa_stream_unref>>;
using Properties = std::unique_ptr<pa_proplist, Release<pa_proplist_free>>;
using Operation = std::unique_ptr<pa_operation, Release<pa_operation_unref>>;

/// Holds the main loop's lock: all of libpulse's objects are used under it, and its callbacks run
/// under it.
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

/// Lets a request run on by itself.
inline void forget(pa_operation* operation) {
    const Operation released(operation);
}

} // namespace zelvane::pulse
