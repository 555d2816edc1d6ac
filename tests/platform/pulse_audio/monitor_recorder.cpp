// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/platform/pulse_audio/monitor_recorder.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <stdexcept>

namespace zelvane::test {
namespace {

constexpr std::size_t kFrameSize = 2 * sizeof(float);
constexpr pa_usec_t kLowLatency = 20 * PA_USEC_PER_MSEC;

} // namespace

MonitorRecorder::MonitorRecorder(const std::string& server, const std::string& sink)
    : mainloop_(pa_threaded_mainloop_new()) {
    pa_threaded_mainloop* loop = mainloop_.get();
    pa_threaded_mainloop_start(loop);
    const pulse::Lock lock(loop);
    const auto signal = [](auto*, void* mainloop) {
        pa_threaded_mainloop_signal(static_cast<pa_threaded_mainloop*>(mainloop), 0);
    };
    context_.reset(pa_context_new(pa_threaded_mainloop_get_api(loop), "recorder"));
    pa_context_set_state_callback(context_.get(), signal, loop);
    pa_context_connect(context_.get(), server.c_str(), PA_CONTEXT_NOAUTOSPAWN, nullptr);
    while (pa_context_get_state(context_.get()) != PA_CONTEXT_READY) {
        if (!PA_CONTEXT_IS_GOOD(pa_context_get_state(context_.get()))) {
            throw std::runtime_error("cannot connect the recorder");
        }
        pa_threaded_mainloop_wait(loop);
    }
    const pa_sample_spec specification{PA_SAMPLE_FLOAT32NE, 48000, 2};
    stream_.reset(pa_stream_new(context_.get(), "recorder", &specification, nullptr));
    pa_stream_set_state_callback(stream_.get(), signal, loop);
    pa_stream_set_read_callback(
        stream_.get(),
        [](pa_stream*, std::size_t, void* self) { static_cast<MonitorRecorder*>(self)->read(); },
        this);
    constexpr auto kServersChoice = static_cast<std::uint32_t>(-1);
    const pa_buffer_attr buffer{kServersChoice, kServersChoice, kServersChoice, kServersChoice,
                                static_cast<std::uint32_t>(kFrameSize * 480)};
    pa_stream_connect_record(stream_.get(), (sink + ".monitor").c_str(), &buffer,
                             PA_STREAM_ADJUST_LATENCY);
    while (pa_stream_get_state(stream_.get()) != PA_STREAM_READY) {
        if (!PA_STREAM_IS_GOOD(pa_stream_get_state(stream_.get()))) {
            throw std::runtime_error("cannot record " + sink);
        }
        pa_threaded_mainloop_wait(loop);
    }
    // A null sink without a stream renders two seconds ahead; wait until that was played.
    while (sinkLatency_ > kLowLatency) {
        pa_threaded_mainloop_wait(loop);
    }
}

MonitorRecorder::~MonitorRecorder() {
    pa_threaded_mainloop_stop(mainloop_.get());
    pa_stream_set_state_callback(stream_.get(), nullptr, nullptr);
    pa_stream_disconnect(stream_.get());
    pa_context_set_state_callback(context_.get(), nullptr, nullptr);
    pa_context_disconnect(context_.get());
}

void MonitorRecorder::read() {
    while (pa_stream_readable_size(stream_.get()) > 0) {
        const void* data = nullptr;
        std::size_t bytes = 0;
        if (pa_stream_peek(stream_.get(), &data, &bytes) < 0 || bytes == 0) {
            break;
        }
        const auto* values = static_cast<const float*>(data);
        for (std::size_t i = 0; i < bytes / kFrameSize; ++i) {
            recording_.samples.push_back(values == nullptr ? 0.0F : values[2 * i]);
        }
        pa_stream_drop(stream_.get());
    }
    pulse::detach(pa_stream_update_timing_info(
        stream_.get(),
        [](pa_stream*, int success, void* self) {
            if (success != 0) {
                static_cast<MonitorRecorder*>(self)->measure();
            }
        },
        this));
}

/// The monitor delivers frames when the sink renders them; they are heard after the sink's latency.
void MonitorRecorder::measure() {
    const auto* timing = pa_stream_get_timing_info(stream_.get());
    if (timing == nullptr || timing->write_index_corrupt != 0 || timing->read_index_corrupt != 0) {
        return;
    }
    sinkLatency_ = timing->sink_usec;
    pa_threaded_mainloop_signal(mainloop_.get(), 0);
    const std::int64_t first =
        timing->read_index - static_cast<std::int64_t>(recording_.samples.size() * kFrameSize);
    const double frames = static_cast<double>(timing->write_index - first) / kFrameSize;
    const HostTime stamp = std::chrono::steady_clock::now().time_since_epoch() -
                           std::chrono::microseconds(pa_timeval_age(&timing->timestamp));
    const auto latency = std::chrono::microseconds(timing->sink_usec) -
                         std::chrono::microseconds(timing->source_usec);
    recording_.estimates.push_back(
        {recording_.samples.size(),
         stamp + latency - HostDuration(std::llround(frames / Recording::kRate * 1e9))});
}

MonitorRecorder::Recording MonitorRecorder::recording() const {
    const pulse::Lock lock(mainloop_.get());
    return recording_;
}

/// Of the estimates after the frame, the earliest is the one with the least delay.
HostTime MonitorRecorder::Recording::timeOf(double frame) const {
    HostTime earliest = HostTime::max();
    for (const auto& estimate : estimates) {
        const double after = static_cast<double>(estimate.frames) - frame;
        if (after >= 0 && after < kRate / 2) {
            earliest = std::min(earliest, estimate.firstHeardAt);
        }
    }
    return earliest == HostTime::max() ? earliest
                                       : earliest + HostDuration(std::llround(frame / kRate * 1e9));
}

std::vector<HostTime> MonitorRecorder::Recording::clicks(float level) const {
    std::vector<HostTime> found;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (std::abs(samples[i]) < level) {
            continue;
        }
        constexpr std::size_t kReach = 1440;
        const std::size_t begin = i > kReach ? i - kReach : 0;
        const std::size_t end = std::min(samples.size(), i + kReach);
        double energy = 0;
        double moment = 0;
        for (std::size_t k = begin; k < end; ++k) {
            const double power = static_cast<double>(samples[k]) * samples[k];
            energy += power;
            moment += power * static_cast<double>(k);
        }
        found.push_back(timeOf(moment / energy));
        constexpr std::size_t kApart = 9600;
        i += kApart;
    }
    return found;
}

double MonitorRecorder::Recording::pitch() const {
    std::vector<double> crossings;
    for (std::size_t i = 1; i < samples.size(); ++i) {
        const float before = samples[i - 1];
        const float after = samples[i];
        if (before < 0 && after >= 0 && after - before > 1e-3F) {
            crossings.push_back(static_cast<double>(i) - after / (after - before));
        }
    }
    if (crossings.size() < 3) {
        return 0;
    }
    // The median period is one within the tone, not at its start or end.
    std::vector<double> periods;
    for (std::size_t i = 10; i < crossings.size(); ++i) {
        periods.push_back((crossings[i] - crossings[i - 10]) / 10);
    }
    std::nth_element(periods.begin(),
                     periods.begin() + static_cast<std::ptrdiff_t>(periods.size() / 2),
                     periods.end());
    return kRate / periods[periods.size() / 2];
}

} // namespace zelvane::test
