// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pulse_audio/pulse_audio_output.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cmath>
#include <cstring>
#include <functional>
#include <utility>

#include "core_media/ffmpeg.h"
#include "foundation/log.h"
#include "platform/pulse_audio/pulse_handles.h"

namespace zelvane {
namespace {

using pulse::detach;
using pulse::Lock;

constexpr pa_usec_t kRetryInterval = 1 * PA_USEC_PER_SEC;
/// The length of the stream's buffer. Stopping and flushing take effect at once whatever it is; a
/// shorter one runs dry on a busy machine.
constexpr pa_usec_t kTargetLength = 200 * PA_USEC_PER_MSEC;
constexpr pa_usec_t kMinimumRequest = 20 * PA_USEC_PER_MSEC;
/// Positions are requested often after a start, when the clock waits for one, then less often.
constexpr pa_usec_t kFirstPositionInterval = 4 * PA_USEC_PER_MSEC;
constexpr pa_usec_t kPositionInterval = 50 * PA_USEC_PER_MSEC;
constexpr int kFirstPositions = 50;

struct ChannelPosition {
    std::uint64_t bit;
    pa_channel_position_t position;
};

/// In the order of the bits, which is the order of the samples of a frame.
constexpr ChannelPosition kChannelPositions[] = {
    {AV_CH_FRONT_LEFT, PA_CHANNEL_POSITION_FRONT_LEFT},
    {AV_CH_FRONT_RIGHT, PA_CHANNEL_POSITION_FRONT_RIGHT},
    {AV_CH_FRONT_CENTER, PA_CHANNEL_POSITION_FRONT_CENTER},
    {AV_CH_LOW_FREQUENCY, PA_CHANNEL_POSITION_LFE},
    {AV_CH_BACK_LEFT, PA_CHANNEL_POSITION_REAR_LEFT},
    {AV_CH_BACK_RIGHT, PA_CHANNEL_POSITION_REAR_RIGHT},
    {AV_CH_FRONT_LEFT_OF_CENTER, PA_CHANNEL_POSITION_FRONT_LEFT_OF_CENTER},
    {AV_CH_FRONT_RIGHT_OF_CENTER, PA_CHANNEL_POSITION_FRONT_RIGHT_OF_CENTER},
    {AV_CH_BACK_CENTER, PA_CHANNEL_POSITION_REAR_CENTER},
    {AV_CH_SIDE_LEFT, PA_CHANNEL_POSITION_SIDE_LEFT},
    {AV_CH_SIDE_RIGHT, PA_CHANNEL_POSITION_SIDE_RIGHT},
};

/// The channels of the sink that have a bit here. A sink with fewer than two, such as "mono" or
/// "aux", gets stereo, which the server mixes.
std::uint64_t channelMask(const pa_channel_map& map) {
    std::uint64_t mask = 0;
    for (const auto& [bit, position] : kChannelPositions) {
        if (std::find(map.map, map.map + map.channels, position) != map.map + map.channels) {
            mask |= bit;
        }
    }
    return std::popcount(mask) < 2 ? AV_CH_LAYOUT_STEREO : mask;
}

pa_channel_map channelMap(std::uint64_t mask) {
    pa_channel_map map;
    pa_channel_map_init(&map);
    for (const auto& [bit, position] : kChannelPositions) {
        if ((mask & bit) != 0) {
            map.map[map.channels++] = position;
        }
    }
    return map;
}

/// 1 is the server's 100 %.
pa_volume_t serverVolume(float level) {
    return static_cast<pa_volume_t>(std::lround(level * static_cast<float>(PA_VOLUME_NORM)));
}

HostTime monotonicNow() {
    return std::chrono::steady_clock::now().time_since_epoch();
}

} // namespace

/// All members are used under the lock of the main loop.
class PulseAudioOutput::Connection {
  public:
    explicit Connection(std::optional<std::string> server)
        : server_(std::move(server)), mainloop_(pa_threaded_mainloop_new()) {}

    ~Connection() {
        // Joins the thread; no callback runs afterwards.
        if (isRunning_) {
            pa_threaded_mainloop_stop(mainloop_.get());
        }
        disconnect();
    }

    void open(EventHandler handler) {
        handler_ = std::move(handler);
        pa_threaded_mainloop_set_name(mainloop_.get(), "pulse audio");
        isRunning_ = pa_threaded_mainloop_start(mainloop_.get()) == 0;
        if (!isRunning_) {
            state_ = State::unavailable;
            handler_(Event::settled);
            return;
        }
        const Lock lock(mainloop_.get());
        connect();
    }

    pa_threaded_mainloop* mainloop() const { return mainloop_.get(); }
    State state() const { return state_; }
    AudioOutputFormat format() const { return format_; }
    const std::vector<AudioDevice>& devices() const { return devices_; }

    std::size_t writableFrames() const {
        const std::size_t bytes = stream_ ? pa_stream_writable_size(stream_.get()) : 0;
        return bytes == static_cast<std::size_t>(-1) ? 0 : bytes / frameSize();
    }

    void write(std::span<const float> samples) {
        if (stream_ && state_ == State::ready &&
            pa_stream_write(stream_.get(), samples.data(), samples.size_bytes(), nullptr, 0,
                            PA_SEEK_RELATIVE) == 0) {
            bytesWritten_ += static_cast<std::int64_t>(samples.size_bytes());
        }
    }

    void cork(bool corked) {
        if (!stream_ || isStarted_ == !corked) {
            return;
        }
        isStarted_ = !corked;
        position_.reset();
        detach(pa_stream_cork(stream_.get(), corked ? 1 : 0, nullptr, nullptr));
        positionRequests_ = 0;
        requestPosition();
    }

    void flush() {
        if (stream_) {
            bytesWritten_ = 0;
            position_.reset();
            // Measurements that were requested before count the old frames.
            ++flushes_;
            detach(pa_stream_flush(stream_.get(), nullptr, nullptr));
        }
    }

    std::optional<AudioOutputPosition> position() const { return position_; }

    void setDevice(std::optional<std::string> uniqueID) {
        device_ = std::move(uniqueID);
        if (stream_ && state_ == State::ready) {
            moveToDevice();
        }
    }

    AudioVolume volume() const { return {level_.value_or(1), isMuted_.value_or(false)}; }

    void setVolumeLevel(float level) {
        level_ = level;
        applyVolumeLevel();
    }

    void setMuted(bool isMuted) {
        isMuted_ = isMuted;
        applyMute();
    }

  private:
    void moveToDevice() {
        deviceOfStream_ = device_;
        const char* name = device_ ? device_->c_str() : "@DEFAULT_SINK@";
        detach(pa_context_move_sink_input_by_name(
            context_.get(), pa_stream_get_index(stream_.get()), name, nullptr, nullptr));
    }

    std::size_t frameSize() const {
        return static_cast<std::size_t>(format_.channelCount()) * sizeof(float);
    }

    template <auto member>
    static void call(void* self) {
        (static_cast<Connection*>(self)->*member)();
    }

    void connect() {
        const pulse::Properties properties(pa_proplist_new());
        pa_proplist_sets(properties.get(), PA_PROP_APPLICATION_NAME, "Zelvane Player");
        pa_proplist_sets(properties.get(), PA_PROP_APPLICATION_ID, "zelvane-player");
        pa_proplist_sets(properties.get(), PA_PROP_MEDIA_ROLE, "video");
        context_.reset(pa_context_new_with_proplist(pa_threaded_mainloop_get_api(mainloop_.get()),
                                                    "Zelvane Player", properties.get()));
        pa_context_set_state_callback(
            context_.get(),
            [](pa_context*, void* self) { call<&Connection::contextDidChange>(self); }, this);
        // Do not start a server: if the system is to have one, it runs.
        if (pa_context_connect(context_.get(), server_ ? server_->c_str() : nullptr,
                               PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
            fail();
        }
    }

    void contextDidChange() {
        if (!context_) {
            return;
        }
        switch (pa_context_get_state(context_.get())) {
        case PA_CONTEXT_READY:
            subscribe();
            requestServerInfo();
            break;
        case PA_CONTEXT_FAILED:
        case PA_CONTEXT_TERMINATED:
            fail();
            break;
        default:
            break;
        }
    }

    void subscribe() {
        pa_context_set_subscribe_callback(
            context_.get(),
            [](pa_context*, pa_subscription_event_type_t type, std::uint32_t index, void* self) {
                static_cast<Connection*>(self)->serverDidChange(type, index);
            },
            this);
        const auto mask = static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SINK |
                                                              PA_SUBSCRIPTION_MASK_SERVER |
                                                              PA_SUBSCRIPTION_MASK_SINK_INPUT);
        detach(pa_context_subscribe(context_.get(), mask, nullptr, nullptr));
    }

    void serverDidChange(pa_subscription_event_type_t type, std::uint32_t index) {
        if ((type & PA_SUBSCRIPTION_EVENT_FACILITY_MASK) != PA_SUBSCRIPTION_EVENT_SINK_INPUT) {
            requestServerInfo();
        } else if (hasReadyStream() && index == pa_stream_get_index(stream_.get())) {
            requestVolume();
        }
    }

    bool hasReadyStream() const { return stream_ && state_ == State::ready; }

    void applyVolumeLevel() {
        if (!level_ || !hasReadyStream()) {
            return;
        }
        if (pa_cvolume_valid(&channelVolumes_) == 0) {
            pa_cvolume_set(&channelVolumes_, static_cast<unsigned>(format_.channelCount()),
                           PA_VOLUME_NORM);
        }
        pa_cvolume volume = channelVolumes_;
        pa_cvolume_scale(&volume, serverVolume(*level_));
        noteVolumeRequest(pa_context_set_sink_input_volume(context_.get(),
                                                           pa_stream_get_index(stream_.get()),
                                                           &volume, volumeRequestDidEnd, this));
    }

    void applyMute() {
        if (isMuted_ && hasReadyStream()) {
            noteVolumeRequest(
                pa_context_set_sink_input_mute(context_.get(), pa_stream_get_index(stream_.get()),
                                               *isMuted_ ? 1 : 0, volumeRequestDidEnd, this));
        }
    }

    void noteVolumeRequest(pa_operation* operation) {
        pendingVolumeRequests_ += operation == nullptr ? 0 : 1;
        detach(operation);
    }

    static void volumeRequestDidEnd(pa_context*, int /*success*/, void* self) {
        auto* connection = static_cast<Connection*>(self);
        if (--connection->pendingVolumeRequests_ == 0) {
            connection->requestVolume();
        }
    }

    void requestVolume() {
        detach(pa_context_get_sink_input_info(
            context_.get(), pa_stream_get_index(stream_.get()),
            [](pa_context*, const pa_sink_input_info* info, int, void* self) {
                if (info != nullptr) {
                    static_cast<Connection*>(self)->volumeDidArrive(info->volume, info->mute != 0);
                }
            },
            this));
    }

    /// Ignores an answer that the server gave before it handled the latest request.
    void volumeDidArrive(const pa_cvolume& volumes, bool isMuted) {
        if (pendingVolumeRequests_ > 0) {
            return;
        }
        const AudioVolume old = volume();
        const pa_volume_t loudest = pa_cvolume_max(&volumes);
        if (loudest > PA_VOLUME_MUTED) {
            channelVolumes_ = volumes;
        }
        if (!level_ || serverVolume(*level_) != loudest) {
            level_ = std::min(1.0F, static_cast<float>(loudest) / PA_VOLUME_NORM);
        }
        isMuted_ = isMuted;
        if (volume() != old) {
            report(Event::volumeChanged);
        }
    }

    void streamIsReady() {
        state_ = State::ready;
        // The device may have changed while the server made the stream.
        if (deviceOfStream_ != device_) {
            moveToDevice();
        }
        pa_cvolume_init(&channelVolumes_);
        applyVolumeLevel();
        applyMute();
        requestVolume();
        report(Event::settled);
    }

    void requestServerInfo() {
        detach(pa_context_get_server_info(
            context_.get(),
            [](pa_context*, const pa_server_info* info, void* self) {
                if (info != nullptr) {
                    static_cast<Connection*>(self)->requestSinks(info->default_sink_name);
                }
            },
            this));
    }

    void requestSinks(const char* defaultSink) {
        defaultSink_ = defaultSink == nullptr ? "" : defaultSink;
        detach(pa_context_get_sink_info_list(
            context_.get(),
            [](pa_context*, const pa_sink_info* info, int end, void* self) {
                auto* connection = static_cast<Connection*>(self);
                if (end == 0) {
                    connection->foundSinks_.push_back(
                        {{info->name, info->description, info->name == connection->defaultSink_},
                         {static_cast<int>(info->sample_spec.rate),
                          channelMask(info->channel_map)}});
                } else {
                    connection->sinksDidArrive();
                }
            },
            this));
    }

    void sinksDidArrive() {
        devices_.clear();
        for (const auto& sink : foundSinks_) {
            devices_.push_back(sink.device);
        }
        if (!stream_) {
            makeStream();
        }
        foundSinks_.clear();
    }

    void makeStream() {
        const auto isWanted = [this](const Sink& sink) {
            return device_ ? sink.device.uniqueID == *device_ : sink.device.isDefault;
        };
        const auto sink = std::find_if(foundSinks_.begin(), foundSinks_.end(), isWanted);
        deviceOfStream_ = device_;
        format_ = sink == foundSinks_.end() ? AudioOutputFormat{} : sink->format;
        const pa_sample_spec specification{PA_SAMPLE_FLOAT32NE,
                                           static_cast<std::uint32_t>(format_.sampleRate),
                                           static_cast<std::uint8_t>(format_.channelCount())};
        const pa_channel_map map = channelMap(format_.channelMask);
        stream_.reset(pa_stream_new(context_.get(), "Zelvane Player", &specification, &map));
        if (!stream_) {
            fail();
            return;
        }
        setStreamCallbacks();
        connectStream(specification,
                      sink == foundSinks_.end() ? nullptr : sink->device.uniqueID.c_str());
    }

    void connectStream(const pa_sample_spec& specification, const char* sink) {
        constexpr auto kServersChoice = static_cast<std::uint32_t>(-1);
        pa_buffer_attr buffer{};
        buffer.maxlength = kServersChoice;
        buffer.tlength =
            static_cast<std::uint32_t>(pa_usec_to_bytes(kTargetLength, &specification));
        // Playback starts and stops by start() and stop() only.
        buffer.prebuf = 0;
        buffer.minreq =
            static_cast<std::uint32_t>(pa_usec_to_bytes(kMinimumRequest, &specification));
        buffer.fragsize = kServersChoice;
        if (pa_stream_connect_playback(stream_.get(), sink, &buffer, PA_STREAM_START_CORKED,
                                       nullptr, nullptr) < 0) {
            fail();
        }
    }

    void setStreamCallbacks() {
        pa_stream* stream = stream_.get();
        pa_stream_set_state_callback(
            stream, [](pa_stream*, void* self) { call<&Connection::streamDidChange>(self); }, this);
        pa_stream_set_write_callback(
            stream,
            [](pa_stream*, std::size_t, void* self) {
                static_cast<Connection*>(self)->report(Event::needsService);
            },
            this);
        pa_stream_set_underflow_callback(
            stream, [](pa_stream*, void* self) { call<&Connection::streamDidUnderflow>(self); },
            this);
        pa_stream_set_moved_callback(
            stream, [](pa_stream*, void* self) { call<&Connection::streamDidMove>(self); }, this);
    }

    void streamDidChange() {
        switch (pa_stream_get_state(stream_.get())) {
        case PA_STREAM_READY:
            streamIsReady();
            break;
        case PA_STREAM_FAILED:
        case PA_STREAM_TERMINATED:
            fail();
            break;
        default:
            break;
        }
    }

    void streamDidUnderflow() {
        if (isStarted_ && bytesWritten_ > 0) {
            report(Event::underflowed);
        }
    }

    void streamDidMove() {
        position_.reset();
        report(Event::moved);
    }

    void report(Event event) {
        if (state_ == State::ready) {
            handler_(event);
        }
    }

    /// Handles a server that cannot be reached, or that is gone.
    void fail() {
        if (isFailing_) {
            return;
        }
        isFailing_ = true;
        const State old = state_.exchange(State::unavailable);
        // Objects cannot be released within their own callbacks.
        callLater<&Connection::disconnect>(0);
        callLater<&Connection::retry>(kRetryInterval);
        if (old == State::ready) {
            logMessage("Lost the connection to the sound server: {}.",
                       pa_strerror(pa_context_errno(context_.get())));
        }
        handler_(old == State::ready ? Event::lost : Event::settled);
    }

    void retry() {
        disconnect();
        isFailing_ = false;
        connect();
    }

    void disconnect() {
        cancelPositionRequests();
        if (stream_) {
            pa_stream_set_state_callback(stream_.get(), nullptr, nullptr);
            pa_stream_disconnect(stream_.get());
            stream_.reset();
        }
        if (context_) {
            pa_context_set_state_callback(context_.get(), nullptr, nullptr);
            pa_context_disconnect(context_.get());
            context_.reset();
        }
        devices_.clear();
        isStarted_ = false;
        bytesWritten_ = 0;
        position_.reset();
        ++flushes_;
        pendingVolumeRequests_ = 0;
    }

    /// Calls `member` once, after `delay`, on the thread of the main loop.
    template <auto member>
    pa_time_event* callLater(pa_usec_t delay) {
        auto* api = pa_threaded_mainloop_get_api(mainloop_.get());
        timeval when{};
        pa_timeval_add(pa_gettimeofday(&when), delay);
        return api->time_new(
            api, &when,
            [](pa_mainloop_api* loop, pa_time_event* event, const timeval*, void* self) {
                loop->time_free(event);
                call<member>(self);
            },
            this);
    }

    void cancelPositionRequests() {
        if (positionTimer_ != nullptr) {
            pa_threaded_mainloop_get_api(mainloop_.get())->time_free(positionTimer_);
            positionTimer_ = nullptr;
        }
    }

    void positionIsDue() {
        positionTimer_ = nullptr;
        requestPosition();
    }

    void requestPosition() {
        cancelPositionRequests();
        if (!isStarted_ || state_ != State::ready) {
            return;
        }
        flushesAtRequest_ = flushes_;
        detach(pa_stream_update_timing_info(
            stream_.get(),
            [](pa_stream*, int success, void* self) {
                static_cast<Connection*>(self)->positionDidArrive(success != 0);
            },
            this));
        const auto delay =
            positionRequests_++ < kFirstPositions ? kFirstPositionInterval : kPositionInterval;
        positionTimer_ = callLater<&Connection::positionIsDue>(delay);
    }

    void positionDidArrive(bool success) {
        if (success && isStarted_ && flushesAtRequest_ == flushes_) {
            measure(pa_stream_get_timing_info(stream_.get()));
        }
    }

    /// A flush does not reset the indices of the server, so frames are counted back from the write
    /// index, which includes bytes that are still being sent.
    void measure(const pa_timing_info* timing) {
        if (timing == nullptr || timing->playing == 0 || timing->write_index_corrupt != 0 ||
            timing->read_index_corrupt != 0) {
            return;
        }
        const std::int64_t firstByte = timing->write_index - bytesWritten_;
        const std::int64_t bytesRead = timing->read_index - firstByte;
        if (bytesRead <= 0) {
            return;
        }
        const double latency = static_cast<double>(timing->sink_usec) / PA_USEC_PER_SEC;
        const double frame = static_cast<double>(bytesRead) / static_cast<double>(frameSize()) -
                             latency * format_.sampleRate;
        const HostDuration age = std::chrono::microseconds(pa_timeval_age(&timing->timestamp));
        position_ = AudioOutputPosition{frame, monotonicNow() - age};
        report(Event::needsService);
    }

    struct Sink {
        AudioDevice device;
        AudioOutputFormat format;
    };

    const std::optional<std::string> server_;
    pulse::Mainloop mainloop_;
    bool isRunning_ = false;
    pulse::Context context_;
    pulse::Stream stream_;
    EventHandler handler_;
    std::atomic<State> state_{State::opening};
    bool isFailing_ = false;

    std::optional<std::string> device_;
    /// The device that was last requested for the stream.
    std::optional<std::string> deviceOfStream_;
    /// Unset until this program or the server sets them: the server restores remembered values.
    std::optional<float> level_;
    std::optional<bool> isMuted_;
    /// The latest volumes that are not all 0. Scaled with the level, to keep the balance.
    pa_cvolume channelVolumes_{};
    int pendingVolumeRequests_ = 0;
    std::string defaultSink_;
    std::vector<Sink> foundSinks_;
    std::vector<AudioDevice> devices_;

    AudioOutputFormat format_;
    bool isStarted_ = false;
    /// Since the last flush.
    std::int64_t bytesWritten_ = 0;
    int flushes_ = 0;
    int flushesAtRequest_ = 0;
    int positionRequests_ = 0;
    pa_time_event* positionTimer_ = nullptr;
    std::optional<AudioOutputPosition> position_;
};

PulseAudioOutput::PulseAudioOutput(std::optional<std::string> server)
    : connection_(std::make_unique<Connection>(std::move(server))) {}
PulseAudioOutput::~PulseAudioOutput() = default;

void PulseAudioOutput::open(EventHandler handler) {
    connection_->open(std::move(handler));
}

AudioOutput::State PulseAudioOutput::state() const {
    return connection_->state();
}

void PulseAudioOutput::setDevice(std::optional<std::string> uniqueID) {
    const Lock lock(connection_->mainloop());
    connection_->setDevice(std::move(uniqueID));
}

AudioVolume PulseAudioOutput::volume() const {
    const Lock lock(connection_->mainloop());
    return connection_->volume();
}

void PulseAudioOutput::setVolumeLevel(float level) {
    const Lock lock(connection_->mainloop());
    connection_->setVolumeLevel(level);
}

void PulseAudioOutput::setMuted(bool isMuted) {
    const Lock lock(connection_->mainloop());
    connection_->setMuted(isMuted);
}

AudioOutputFormat PulseAudioOutput::format() const {
    const Lock lock(connection_->mainloop());
    return connection_->format();
}

std::size_t PulseAudioOutput::writableFrames() const {
    const Lock lock(connection_->mainloop());
    return connection_->writableFrames();
}

void PulseAudioOutput::write(std::span<const float> samples) {
    const Lock lock(connection_->mainloop());
    connection_->write(samples);
}

void PulseAudioOutput::start() {
    const Lock lock(connection_->mainloop());
    connection_->cork(false);
}

void PulseAudioOutput::stop() {
    const Lock lock(connection_->mainloop());
    connection_->cork(true);
}

void PulseAudioOutput::flush() {
    const Lock lock(connection_->mainloop());
    connection_->flush();
}

std::optional<AudioOutputPosition> PulseAudioOutput::position() const {
    const Lock lock(connection_->mainloop());
    return connection_->position();
}

std::vector<AudioDevice> PulseAudioOutput::devices() const {
    const Lock lock(connection_->mainloop());
    return connection_->devices();
}

} // namespace zelvane
