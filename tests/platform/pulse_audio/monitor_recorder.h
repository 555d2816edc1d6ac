// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "foundation/host_clock.h"
#include "platform/pulse_audio/pulse_handles.h"

namespace zelvane::test {

/// Records what a sink plays, over its own connection, with the time at which each frame is heard.
class MonitorRecorder {
  public:
    /// Returns when the recording runs.
    MonitorRecorder(const std::string& server, const std::string& sink);
    ~MonitorRecorder();
    MonitorRecorder(const MonitorRecorder&) = delete;
    MonitorRecorder& operator=(const MonitorRecorder&) = delete;

    struct Recording {
        static constexpr double kRate = 48000;
        /// Of the first channel.
        std::vector<float> samples;
        /// When the first frame was heard, as measured after `frames` recorded frames. It changes
        /// when the sink rewinds or skips.
        struct Estimate {
            std::size_t frames;
            HostTime firstHeardAt;
        };
        std::vector<Estimate> estimates;

        HostTime timeOf(double frame) const;
        /// The centres, by energy, of bursts that reach `level` and are at least 0.2 s apart.
        std::vector<HostTime> clicks(float level) const;
        /// The frequency of the recorded tone.
        double pitch() const;
    };
    Recording recording() const;

  private:
    void read();
    void measure();

    pulse::Mainloop mainloop_;
    pulse::Context context_;
    pulse::Stream stream_;
    Recording recording_;
    pa_usec_t sinkLatency_ = PA_USEC_MAX;
};

} // namespace zelvane::test
