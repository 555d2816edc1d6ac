// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/media_player/playback/playback_fakes.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <sstream>
#include <utility>

#include <gtest/gtest.h>

#include "tests/support/pixel_buffers.h"

namespace zelvane::test {

std::int64_t inMilliseconds(const CMTime& time) {
    return time.convertScale(1000, CMTimeRoundingMethod::roundHalfAwayFromZero).value();
}

CMSampleBufferRef makeSampleBuffer(const CMTime& start, const CMTime& duration) {
    constexpr std::uint32_t kBytesPerFrame = 4;
    static const std::array<std::uint8_t, kBytesPerFrame> silence{};
    CMFormatDescription::Audio audio;
    audio.streamDescription.mSampleRate = 48000;
    audio.streamDescription.mBytesPerFrame = kBytesPerFrame;
    audio.streamDescription.mChannelsPerFrame = 2;
    audio.channelLayoutTag = kAudioChannelLayoutTag_Stereo;
    const auto data = std::make_shared<CMBlockBuffer>();
    data->appendMemoryBlock(silence, [] {});
    return CMSampleBuffer::ofAudio(data, CMFormatDescription::ofAudio(audio), 1,
                                   {duration, start, kCMTimeInvalid}, kBytesPerFrame);
}

CMSampleBufferRef makePicture(const CMTime& start, const CMTime& duration) {
    return CMSampleBuffer::ofPicture(makePixelBuffer(kCVPixelFormatType_32BGRA, 16, 16),
                                     {duration, start, kCMTimeInvalid});
}

std::vector<TimelinePacket> timeline(std::string_view text, std::int64_t frameDuration) {
    std::vector<TimelinePacket> packets;
    std::istringstream words{std::string(text)};
    for (std::string word; words >> word;) {
        TimelinePacket packet;
        packet.duration = frameDuration;
        const char* at = word.data();
        const char* const end = at + word.size();
        if (*at == 'p' || *at == 's') {
            packet.stream = *at++;
        }
        at = std::from_chars(at, end, packet.start).ptr;
        if (at != end && *at == '+') {
            at = std::from_chars(at + 1, end, packet.duration).ptr;
        }
        const std::string_view marks(at, static_cast<std::size_t>(end - at));
        packet.isKey = marks.find('k') != std::string_view::npos;
        packet.isCorrupt = marks.find('!') != std::string_view::npos;
        packets.push_back(packet);
    }
    return packets;
}

namespace {

PacketRef packetOf(const TimelinePacket& packet) {
    ffmpeg::AVPacketHandle handle(av_packet_alloc());
    av_new_packet(handle.get(), 1);
    handle->pts = packet.start;
    handle->duration = packet.duration;
    handle->flags =
        (packet.isKey ? AV_PKT_FLAG_KEY : 0) | (packet.isCorrupt ? AV_PKT_FLAG_CORRUPT : 0);
    return std::make_shared<const Packet>(std::move(handle));
}

void refuseCorrupt(const Packet& packet) {
    if ((packet.avPacket().flags & AV_PKT_FLAG_CORRUPT) != 0) {
        throw FFmpegError::fromStatus(AVERROR_INVALIDDATA);
    }
}

MediaTrack::Facts factsOf(std::uint32_t streamIndex) {
    MediaTrack::Facts facts;
    facts.streamIndex = streamIndex;
    facts.streamTimeBase = {1, 1000};
    return facts;
}

} // namespace

bool FakeDecoder::startDecoding(const Packet& packet) {
    if (packet.avPacket().size == 0) {
        isDraining_ = true;
        return true;
    }
    refuseCorrupt(packet);
    if (held_.size() > delay_) {
        return false;
    }
    const CMTime duration =
        packet.avPacket().duration > 0 ? ms(packet.avPacket().duration) : kCMTimeInvalid;
    const auto make = givesPictures ? makePicture : makeSampleBuffer;
    held_.push_back(make(ms(packet.avPacket().pts), duration));
    return true;
}

CMSampleBufferRef FakeDecoder::dequeueSampleBuffer() {
    if (held_.empty() || (!isDraining_ && held_.size() <= delay_)) {
        return nullptr;
    }
    auto sampleBuffer = std::move(held_.front());
    held_.pop_front();
    return sampleBuffer;
}

void FakeDecoder::flush() {
    held_.clear();
    isDraining_ = false;
}

void FakeSubtitlesDecoder::flush() {
    onFlush();
    held_.clear();
}

std::vector<SubtitlesFrameRef> FakeSubtitlesDecoder::decode(const Packet& packet) {
    onDecode();
    refuseCorrupt(packet);
    const AVPacket& av = packet.avPacket();
    if (av.size == 0) {
        if (failsAtEnd) {
            throw FFmpegError::fromStatus(AVERROR_INVALIDDATA);
        }
        return std::exchange(held_, {});
    }
    return {std::make_shared<SubtitlesFrame>(
        SubtitlesFrame{ms(av.pts), ms(av.pts + av.duration), TextSubtitle{"text"}})};
}

FakeTracks::FakeTracks(std::size_t videoDelay, std::size_t audioDelay,
                       std::optional<AVRational> frameRate) {
    constexpr CGAffineTransform kQuarterTurn{0, 1, -1, 0, 0, 0};
    video = std::make_shared<VideoTrack>("source", factsOf(0),
                                         VideoDimensions(720, 576, kQuarterTurn, 16.0 / 15.0),
                                         frameRate, std::make_unique<FakeDecoder>(videoDelay));
    audio = std::make_shared<AudioTrack>("source", factsOf(1),
                                         std::make_unique<FakeDecoder>(audioDelay));
    auto first = std::make_unique<FakeSubtitlesDecoder>();
    auto second = std::make_unique<FakeSubtitlesDecoder>();
    primaryDecoder = first.get();
    secondaryDecoder = second.get();
    primary = std::make_shared<SubtitlesTrack>("source", factsOf(2), std::move(first));
    secondary = std::make_shared<SubtitlesTrack>("source", factsOf(3), std::move(second));
}

FakePacketSource::FakePacketSource(FakeTracks tracks, std::string_view visual,
                                   std::string_view audio, CMTime startTime, CMTime duration)
    : tracks_(std::move(tracks)), startTime_(startTime), duration_(duration) {
    visual_.packets = timeline(visual);
    audio_.packets = timeline(audio, 20);
}

std::shared_ptr<MediaTrack> FakePacketSource::trackOf(const TimelinePacket& packet) const {
    switch (packet.stream) {
    case 'p':
        return tracks_.primary;
    case 's':
        return tracks_.secondary;
    default:
        return tracks_.video;
    }
}

PacketRef FakePacketSource::readAudioPacket(const std::shared_ptr<AudioTrack>& /*track*/) {
    EXPECT_TRUE(audioQueue_->isCurrent());
    ++audioReads_;
    if (onAudioRead) {
        onAudioRead(audioReads_);
    }
    if (failsReads) {
        throw FFmpegError::fromStatus(AVERROR(EIO));
    }
    if (audio_.position == audio_.packets.size()) {
        return nullptr;
    }
    return packetOf(audio_.packets[audio_.position++]);
}

std::optional<PacketSource::TrackPacket>
FakePacketSource::readVisualPacket(const std::shared_ptr<VideoTrack>& videoTrack,
                                   const SubtitlesTracks& subtitlesTracks) {
    EXPECT_TRUE(visualQueue_->isCurrent());
    if (failsReads) {
        throw FFmpegError::fromStatus(AVERROR(EIO));
    }
    while (visual_.position < visual_.packets.size()) {
        const TimelinePacket& packet = visual_.packets[visual_.position++];
        const auto track = trackOf(packet);
        if (track == videoTrack || std::find(subtitlesTracks.begin(), subtitlesTracks.end(),
                                             track) != subtitlesTracks.end()) {
            return TrackPacket{packetOf(packet), track};
        }
    }
    return std::nullopt;
}

std::vector<TimelinePacket> FakePacketSource::collect(Stream& stream, std::int64_t time) {
    const auto& packets = stream.packets;
    std::size_t begin = 0;
    std::size_t end = packets.size();
    for (std::size_t i = 0; i < packets.size(); ++i) {
        if (packets[i].stream != 'm') {
            continue;
        }
        if (packets[i].isKey && packets[i].start <= time) {
            begin = i;
        }
        if (packets[i].start >= time) {
            end = i + 1;
            break;
        }
    }
    stream.position = end;
    const auto at = [&](std::size_t index) {
        return packets.begin() + static_cast<std::ptrdiff_t>(index);
    };
    return {at(begin), at(end)};
}

std::vector<PacketRef> FakePacketSource::seekAudio(const std::shared_ptr<AudioTrack>& /*track*/,
                                                   const CMTime& time) {
    EXPECT_TRUE(audioQueue_->isCurrent());
    {
        const std::lock_guard lock(mutex_);
        audioSeekTargets_.push_back(inMilliseconds(time));
    }
    passGate();
    if (failsSeeks) {
        throw FFmpegError::fromStatus(AVERROR(EIO));
    }
    std::vector<PacketRef> packets;
    for (const TimelinePacket& packet : collect(audio_, inMilliseconds(time))) {
        packets.push_back(packetOf(packet));
    }
    return packets;
}

PacketSource::CollectedPackets
FakePacketSource::seekVisual(const std::shared_ptr<VideoTrack>& /*videoTrack*/,
                             const SubtitlesTracks& /*subtitlesTracks*/, const CMTime& time) {
    EXPECT_TRUE(visualQueue_->isCurrent());
    if (failsSeeks) {
        throw FFmpegError::fromStatus(AVERROR(EIO));
    }
    CollectedPackets collected;
    for (const TimelinePacket& packet : collect(visual_, inMilliseconds(time))) {
        const auto track = trackOf(packet);
        auto known = std::find_if(collected.begin(), collected.end(),
                                  [&](const auto& entry) { return entry.first == track; });
        if (known == collected.end()) {
            collected.push_back({track, {}});
            known = std::prev(collected.end());
        }
        known->second.push_back(packetOf(packet));
    }
    return collected;
}

void FakePacketSource::closeSeekGate() {
    const std::lock_guard lock(mutex_);
    isGateClosed_ = true;
}

void FakePacketSource::openSeekGate() {
    const std::lock_guard lock(mutex_);
    isGateClosed_ = false;
    gateChanged_.notify_all();
}

void FakePacketSource::passGate() {
    std::unique_lock lock(mutex_);
    ++waitingAtGate_;
    gateChanged_.notify_all();
    gateChanged_.wait(lock, [this] { return !isGateClosed_; });
    --waitingAtGate_;
}

void FakePacketSource::waitForSeekAtGate() {
    std::unique_lock lock(mutex_);
    gateChanged_.wait(lock, [this] { return waitingAtGate_ > 0; });
}

std::vector<std::int64_t> FakePacketSource::audioSeekTargets() const {
    const std::lock_guard lock(mutex_);
    return audioSeekTargets_;
}

void FakeRenderer::enqueueSampleBuffer(CMSampleBufferRef sampleBuffer) {
    const std::lock_guard lock(mutex_);
    queued_.push_back(std::move(sampleBuffer));
}

bool FakeRenderer::isReadyForMoreMediaData() const {
    const std::lock_guard lock(mutex_);
    return queued_.size() < capacity_;
}

void FakeRenderer::requestMediaDataWhenReady(std::shared_ptr<dispatch::Queue> queue,
                                             dispatch::Task block) {
    setRequest(std::make_shared<MediaDataRequest>(std::move(queue), std::move(block),
                                                  [weak = weak_from_this()] {
                                                      const auto self = weak.lock();
                                                      return self &&
                                                             self->isReadyForMoreMediaData();
                                                  }),
               "request");
}

void FakeRenderer::stopRequestingMediaData() {
    setRequest(nullptr, "stop");
}

void FakeRenderer::setRequest(const std::shared_ptr<MediaDataRequest>& request, const char* event) {
    std::shared_ptr<MediaDataRequest> old;
    {
        const std::lock_guard lock(mutex_);
        events_.emplace_back(event);
        old = std::exchange(request_, request);
    }
    if (old) {
        old->cancel();
    }
    if (request) {
        request->poll();
    }
}

void FakeRenderer::forget(std::string_view event) {
    std::shared_ptr<MediaDataRequest> request;
    {
        const std::lock_guard lock(mutex_);
        queued_.clear();
        events_.emplace_back(event);
        request = request_;
    }
    if (request) {
        request->poll();
    }
}

void FakeRenderer::note(std::string event) {
    const std::lock_guard lock(mutex_);
    events_.push_back(std::move(event));
}

void FakeRenderer::setBounds(const CGRect& bounds) {
    note(fmt::format("bounds {},{} {}x{}", bounds.x, bounds.y, bounds.width, bounds.height));
}

void FakeRenderer::setAffineTransform(const CGAffineTransform& t) {
    note(fmt::format("transform {} {} {} {}", t.a, t.b, t.c, t.d));
}

void FakeRenderer::setAudioTimePitchAlgorithm(AVAudioTimePitchAlgorithm algorithm) {
    note(algorithm == AVAudioTimePitchAlgorithm::AVAudioTimePitchAlgorithmSpectral ? "spectral"
                                                                                   : "varispeed");
}

void FakeRenderer::setAllowedAudioSpatializationFormats(std::uint32_t formats) {
    note(fmt::format("spatialization {}", formats));
}

std::vector<std::int64_t> FakeRenderer::queued() const {
    const std::lock_guard lock(mutex_);
    std::vector<std::int64_t> starts;
    for (const CMSampleBufferRef& buffer : queued_) {
        starts.push_back(inMilliseconds(buffer->presentationTimeStamp()));
    }
    return starts;
}

std::vector<CMSampleBufferRef> FakeRenderer::buffers() const {
    const std::lock_guard lock(mutex_);
    return queued_;
}

CMSampleBufferRef FakeRenderer::first() const {
    const std::lock_guard lock(mutex_);
    return queued_.empty() ? nullptr : queued_.front();
}

std::int64_t FakeRenderer::sampleCount() const {
    const std::lock_guard lock(mutex_);
    std::int64_t count = 0;
    for (const CMSampleBufferRef& buffer : queued_) {
        count += buffer->sampleCount();
    }
    return count;
}

std::vector<std::string> FakeRenderer::events() const {
    const std::lock_guard lock(mutex_);
    return events_;
}

bool FakeRenderer::isRequesting() const {
    const std::lock_guard lock(mutex_);
    return request_ != nullptr;
}

FakeSynchronizer::FakeSynchronizer()
    : clock_(std::make_shared<SampleBufferRenderSynchronizer>(time_.clock(), time_.makeTimer())),
      announcements_(NotificationCenter::shared().addObserver(
          std::string(kRenderSynchronizerRateDidChangeNotification),
          static_cast<const RenderSynchronizer*>(clock_.get()), nullptr,
          [this](const Notification& posted) {
              if (!isQuiet_) {
                  NotificationCenter::shared().post(
                      {posted.name, static_cast<const RenderSynchronizer*>(this), {}});
              }
          })) {}

void FakeSynchronizer::addRenderer(std::shared_ptr<SynchronizedRenderer> renderer) {
    ++rendererCount_;
    clock_->addRenderer(std::move(renderer));
}

RenderSynchronizer::TimeObserverToken
FakeSynchronizer::addPeriodicTimeObserver(const CMTime& interval,
                                          std::shared_ptr<dispatch::Queue> queue,
                                          std::function<void(const CMTime&)> block) {
    ++observerCount_;
    return clock_->addPeriodicTimeObserver(interval, std::move(queue), std::move(block));
}

RenderSynchronizer::TimeObserverToken
FakeSynchronizer::addBoundaryTimeObserver(std::vector<CMTime> times,
                                          std::shared_ptr<dispatch::Queue> queue,
                                          std::function<void()> block) {
    ++observerCount_;
    auto token =
        clock_->addBoundaryTimeObserver(std::move(times), std::move(queue), std::move(block));
    if (const auto crossed = std::exchange(crossesWhileAdding_, std::nullopt)) {
        runTo(*crossed);
    }
    return token;
}

void FakeSynchronizer::removeTimeObserver(const TimeObserverToken& token) {
    --observerCount_;
    ++removals_;
    clock_->removeTimeObserver(token);
}

void FakeSynchronizer::runTo(const CMTime& time) {
    const float rate = clock_->rate();
    const auto setQuietly = [&](float newRate) {
        if (rate == 0) {
            isQuiet_ = true;
            clock_->setRate(newRate);
            isQuiet_ = false;
        }
    };
    setQuietly(1);
    const double seconds = (time - currentTime()).seconds() / (rate == 0 ? 1 : rate);
    time_.advance(HostDuration(std::llround(seconds * 1e9)));
    setQuietly(0);
}

void FakeSubtitlesRenderer::addSubtitlesFrame(SubtitlesFrameRef frame) {
    EXPECT_TRUE(dispatch::mainQueue()->isCurrent());
    ++arrivals_;
    if (!dropsEverything) {
        shown_.push_back(inMilliseconds(frame->startTime));
    }
    most_ = std::max(most_, shown_.size());
    reportCount();
}

void FakeSubtitlesRenderer::removeAllSubtitles() {
    dispatch::mainQueue()->async([self = shared_from_this()] {
        self->shown_.clear();
        self->reportCount();
    });
}

void FakeSubtitlesRenderer::endFirst(std::size_t count) {
    shown_.erase(shown_.begin(), shown_.begin() + static_cast<std::ptrdiff_t>(count));
    reportCount();
}

MainQueueScope::~MainQueueScope() {
    settle();
    dispatch::setMainQueue(nullptr);
}

void MainQueueScope::settle() const {
    constexpr std::chrono::seconds kPatience{20};
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (std::chrono::steady_clock::now() < deadline) {
        queue_->runPending();
        if (dispatch::waitForQuiescence(std::chrono::milliseconds(1)) && !queue_->runOne()) {
            return;
        }
    }
    FAIL() << "The queues still have tasks.";
}

} // namespace zelvane::test
