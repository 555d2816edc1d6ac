// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "rendering/queued_sample_buffer_rendering.h"

namespace zelvane::inspect {

/// Keeps the first buffer that a renderer received after its last flush. Any thread.
class FirstBuffer {
  public:
    void clear() {
        const std::lock_guard lock(mutex_);
        buffer_ = nullptr;
    }
    void note(const CMSampleBufferRef& buffer) {
        const std::lock_guard lock(mutex_);
        if (!buffer_) {
            buffer_ = buffer;
        }
    }
    CMSampleBufferRef get() const {
        const std::lock_guard lock(mutex_);
        return buffer_;
    }

  private:
    mutable std::mutex mutex_;
    CMSampleBufferRef buffer_;
};

/// Forwards to a renderer and keeps the first buffer after each flush.
template <class Rendering>
class WatchedRenderer : public Rendering {
  public:
    explicit WatchedRenderer(std::shared_ptr<Rendering> renderer)
        : renderer_(std::move(renderer)) {}

    CMSampleBufferRef firstBuffer() const { return first_.get(); }

    void enqueueSampleBuffer(CMSampleBufferRef sampleBuffer) override {
        first_.note(sampleBuffer);
        renderer_->enqueueSampleBuffer(std::move(sampleBuffer));
    }
    bool isReadyForMoreMediaData() const override { return renderer_->isReadyForMoreMediaData(); }
    void requestMediaDataWhenReady(std::shared_ptr<dispatch::Queue> queue,
                                   dispatch::Task block) override {
        renderer_->requestMediaDataWhenReady(std::move(queue), std::move(block));
    }
    void stopRequestingMediaData() override { renderer_->stopRequestingMediaData(); }
    void flush() override {
        first_.clear();
        renderer_->flush();
    }

  protected:
    Rendering& renderer() const { return *renderer_; }
    void forget() { first_.clear(); }

  private:
    std::shared_ptr<Rendering> renderer_;
    FirstBuffer first_;
};

class WatchedVideoRenderer final : public WatchedRenderer<VideoRendering> {
  public:
    using WatchedRenderer::WatchedRenderer;
    void flushAndRemoveImage() override {
        forget();
        renderer().flushAndRemoveImage();
    }
    void setBounds(const CGRect& bounds) override { renderer().setBounds(bounds); }
    void setAffineTransform(const CGAffineTransform& transform) override {
        renderer().setAffineTransform(transform);
    }
};

class WatchedAudioRenderer final : public WatchedRenderer<AudioRendering> {
  public:
    using WatchedRenderer::WatchedRenderer;
    void setAudioTimePitchAlgorithm(AVAudioTimePitchAlgorithm algorithm) override {
        renderer().setAudioTimePitchAlgorithm(algorithm);
    }
    void setAllowedAudioSpatializationFormats(std::uint32_t formats) override {
        renderer().setAllowedAudioSpatializationFormats(formats);
    }
    std::optional<std::string> audioOutputDeviceUniqueID() const override {
        return renderer().audioOutputDeviceUniqueID();
    }
    void setAudioOutputDeviceUniqueID(std::optional<std::string> uniqueID) override {
        renderer().setAudioOutputDeviceUniqueID(std::move(uniqueID));
    }
    float volume() const override { return renderer().volume(); }
    void setVolume(float volume) override { renderer().setVolume(volume); }
    bool isMuted() const override { return renderer().isMuted(); }
    void setMuted(bool isMuted) override { renderer().setMuted(isMuted); }
};

} // namespace zelvane::inspect
