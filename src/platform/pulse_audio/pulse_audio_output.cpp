// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pulse_audio/pulse_audio_output.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstring>
#include <functional>
#include <utility>

extern "C" {
#include <libavutil/channel_layout.h>
}

#include "foundation/log.h"
#include "platform/pulse_audio/pulse_handles.h"

namespace zelvane {
namespace {

using pulse::forget;
using pulse::Lock;

constexpr pa_usec_t kRetryInterval = 1 * PA_USEC_PER_SEC;
/// What is written ahead of the sink's own buffer. Stopping and flushing take effect at once
/// however long it is; a busy machine is why it is not shorter.
constexpr pa_usec_t kTargetLength = 200 * PA_USEC_PER_MSEC;
constexpr pa_usec_t kMinimumRequest = 20 * PA_USEC_PER_MSEC;
/// Positions are asked for often at first, when the clock waits for one, then now and then.
constexpr pa_usec_t kFirstPositionInterval = 4 * PA_USEC_PER_MSEC;
constexpr pa_usec_t kPositionInterval = 50 * PA_USEC_PER_MSEC;
constexpr int kFirstPositions = 50;

struct ChannelPosition {
    std::uint64_t bit;
    pa_channel_position_t position;
};

/// In the order of the bits, which is the order of samples in a frame.
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

/// The sink's channels as far as they have a place here. One without any, as "mono" or "aux", gets
/// stereo, which the server mixes.
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

HostTime monotonicNow() {
    return std::chrono::steady_clock::now().time_since_epoch();
}

} // namespace

/// Everything below runs under the main loop's lock.
class PulseAudioOutput::Connection {
  public:
    explicit Connection(std::optional<std::string> server)
        : server_(std::move(server)), mainloop_(pa_threaded_mainloop_new()) {}

    ~Connection() {
        // Joins the thread, after which nothing below is called back.
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
        forget(pa_stream_cork(stream_.get(), corked ? 1 : 0, nullptr, nullptr));
        positionsAsked_ = 0;
        askForPosition();
    }

    void flush() {
        if (stream_) {
            bytesWritten_ = 0;
            position_.reset();
            // Measurements that were asked for before tell of the old frames.
            ++flushes_;
            forget(pa_stream_flush(stream_.get(), nullptr, nullptr));
        }
    }

    std::optional<AudioOutputPosition> position() const { return position_; }

    void setDevice(std::optional<std::string> uniqueID) {
        device_ = std::move(uniqueID);
        if (stream_ && state_ == State::ready) {
            moveToDevice();
        }
    }

  private:
    void moveToDevice() {
        streamsDevice_ = device_;
        const char* name = device_ ? device_->c_str() : "@DEFAULT_SINK@";
        forget(pa_context_move_sink_input_by_name(
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
        // A server that the system wants to run is running: starting one is not a player's
        // business.
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
            askForServer();
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
            [](pa_context*, pa_subscription_event_type_t, std::uint32_t, void* self) {
                call<&Connection::askForServer>(self);
            },
            this);
        const auto mask = static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SINK |
                                                              PA_SUBSCRIPTION_MASK_SERVER);
        forget(pa_context_subscribe(context_.get(), mask, nullptr, nullptr));
    }

    void askForServer() {
        forget(pa_context_get_server_info(
            context_.get(),
            [](pa_context*, const pa_server_info* info, void* self) {
                if (info != nullptr) {
                    static_cast<Connection*>(self)->askForSinks(info->default_sink_name);
                }
            },
            this));
    }

    void askForSinks(const char* defaultSink) {
        defaultSink_ = defaultSink == nullptr ? "" : defaultSink;
        forget(pa_context_get_sink_info_list(
            context_.get(),
            [](pa_context*, const pa_sink_info* info, int end, void* self) {
                auto* connection = static_cast<Connection*>(self);
                if (end == 0) {
                    connection->foundSinks_.push_back(
                        {{info->name, info->description, info->name == connection->defaultSink_},
                         {static_cast<int>(info->sample_spec.rate),
                          channelMask(info->channel_map)}});
                } else {
                    connection->sinksAreKnown();
                }
            },
            this));
    }

    void sinksAreKnown() {
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
        streamsDevice_ = device_;
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
        listen();
        connectStream(specification,
                      sink == foundSinks_.end() ? nullptr : sink->device.uniqueID.c_str());
    }

    void connectStream(const pa_sample_spec& specification, const char* sink) {
        constexpr auto kServersChoice = static_cast<std::uint32_t>(-1);
        pa_buffer_attr buffer{};
        buffer.maxlength = kServersChoice;
        buffer.tlength =
            static_cast<std::uint32_t>(pa_usec_to_bytes(kTargetLength, &specification));
        // Playing starts and goes on by start() and stop() alone.
        buffer.prebuf = 0;
        buffer.minreq =
            static_cast<std::uint32_t>(pa_usec_to_bytes(kMinimumRequest, &specification));
        buffer.fragsize = kServersChoice;
        if (pa_stream_connect_playback(stream_.get(), sink, &buffer, PA_STREAM_START_CORKED,
                                       nullptr, nullptr) < 0) {
            fail();
        }
    }

    void listen() {
        pa_stream* stream = stream_.get();
        pa_stream_set_state_callback(
            stream, [](pa_stream*, void* self) { call<&Connection::streamDidChange>(self); }, this);
        pa_stream_set_write_callback(
            stream,
            [](pa_stream*, std::size_t, void* self) {
                static_cast<Connection*>(self)->tell(Event::needsService);
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
            state_ = State::ready;
            // Another may have been chosen while the server made the stream.
            if (streamsDevice_ != device_) {
                moveToDevice();
            }
            tell(Event::settled);
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
            tell(Event::underflowed);
        }
    }

    void streamDidMove() {
        position_.reset();
        tell(Event::moved);
    }

    void tell(Event event) {
        if (state_ == State::ready) {
            handler_(event);
        }
    }

    /// The server is not there, or not any more.
    void fail() {
        if (isFailing_) {
            return;
        }
        isFailing_ = true;
        const State old = state_.exchange(State::unavailable);
        // Objects cannot be taken down by their own callbacks.
        afterwards<&Connection::disconnect>(0);
        afterwards<&Connection::retry>(kRetryInterval);
        if (old == State::ready) {
            logMessage("The sound server has gone: {}.",
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
        stopAskingForPositions();
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
    }

    /// Calls `member` once, on the main loop's thread.
    template <auto member>
    pa_time_event* afterwards(pa_usec_t delay) {
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

    void stopAskingForPositions() {
        if (positionTimer_ != nullptr) {
            pa_threaded_mainloop_get_api(mainloop_.get())->time_free(positionTimer_);
            positionTimer_ = nullptr;
        }
    }

    void positionIsDue() {
        positionTimer_ = nullptr;
        askForPosition();
    }

    void askForPosition() {
        stopAskingForPositions();
        if (!isStarted_ || state_ != State::ready) {
            return;
        }
        flushesWhenAsked_ = flushes_;
        forget(pa_stream_update_timing_info(
            stream_.get(),
            [](pa_stream*, int success, void* self) {
                static_cast<Connection*>(self)->positionDidArrive(success != 0);
            },
            this));
        const auto delay =
            positionsAsked_++ < kFirstPositions ? kFirstPositionInterval : kPositionInterval;
        positionTimer_ = afterwards<&Connection::positionIsDue>(delay);
    }

    void positionDidArrive(bool success) {
        if (success && isStarted_ && flushesWhenAsked_ == flushes_) {
            measure(pa_stream_get_timing_info(stream_.get()));
        }
    }

    /// Server-side indices run on over flushes, so frames are counted from where the next byte
    /// goes: the write index covers what is still on its way.
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
        tell(Event::needsService);
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
    /// The one that the stream was last told to play on.
    std::optional<std::string> streamsDevice_;
    std::string defaultSink_;
    std::vector<Sink> foundSinks_;
    std::vector<AudioDevice> devices_;

    AudioOutputFormat format_;
    bool isStarted_ = false;
    /// Since the last flush.
    std::int64_t bytesWritten_ = 0;
    int flushes_ = 0;
    int flushesWhenAsked_ = 0;
    int positionsAsked_ = 0;
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
