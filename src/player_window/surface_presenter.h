// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "foundation/host_clock.h"
#include "rendering/video_presenter.h"

namespace zelvane {

/// The mailbox between the display layer, which delivers pictures on its own thread, and a widget,
/// which draws the newest one on the main thread.
///
///   present ──> waiting ──(widget takes it)──> drawn ──(didReachScreen)──> its handler is called
///                  └──(a newer one arrives)──> dropped, without calling its handler
///
/// Picture is the type that the widget draws: the result of `Convert` on the layer's thread.
template <class Picture>
class SurfacePresenter final : public VideoPresenter {
  public:
    using PictureRef = std::shared_ptr<const Picture>;
    /// Called on the layer's thread, one frame at a time. Null when the frame cannot be drawn.
    using Convert = std::function<PictureRef(const PresentedFrame&)>;
    /// Called on any thread when there is something new to draw; must only wake the surface.
    using WakeSurface = std::function<void()>;

    SurfacePresenter(Convert convert, std::shared_ptr<HostClock> clock)
        : convert_(std::move(convert)), clock_(std::move(clock)) {}

    // For the layer.

    void prepare(const PresentedFrame& frame) override {
        const std::lock_guard guard(conversionMutex_);
        prepareLocked(frame);
    }

    void present(const PresentedFrame& frame, ShownHandler shown) override {
        const HostTime presentedAt = clock_->now();
        const std::lock_guard guard(conversionMutex_);
        prepareLocked(frame);
        newestFrame_ = frame.pixelBuffer;
        if (prepared_ != nullptr) {
            deliver({std::exchange(prepared_, nullptr), frame.bounds, frame.transform},
                    Delivery{std::move(shown), presentedAt});
        }
        preparedFrom_ = nullptr;
    }

    void removeImage() override { deliver({}, std::nullopt); }

    HostDuration presentationDelay() const override {
        return HostDuration(delay_.load(std::memory_order_relaxed));
    }

    // For the widget; main thread.

    /// What to draw and its place. A null picture is black.
    struct Content {
        PictureRef picture;
        CGRect bounds;
        CGAffineTransform transform;
    };

    /// Calls `wake` from now on. The surface must detach before it is destroyed.
    void attach(WakeSurface wake) {
        const std::lock_guard guard(mutex_);
        wake_ = std::move(wake);
    }

    void detach() {
        // Destroys these after the unlock: handlers and pictures may own other objects.
        Content content;
        std::optional<Delivery> waiting;
        std::optional<Delivery> drawn;
        const std::lock_guard guard(mutex_);
        wake_ = nullptr;
        std::swap(waiting, waiting_);
        std::swap(drawn, drawn_);
        std::swap(content, content_);
    }

    /// Draws the newest frame again, after a change of what `Convert` does. Converts it on this
    /// thread.
    void convertAgain() {
        const std::lock_guard guard(conversionMutex_);
        prepared_ = nullptr;
        preparedFrom_ = nullptr;
        const CVPixelBufferRef frame = newestFrame_.lock();
        Content again = content();
        if (frame == nullptr || again.picture == nullptr) {
            return;
        }
        again.picture = convert_({frame, again.bounds, again.transform});
        if (again.picture != nullptr) {
            deliver(std::move(again), std::nullopt);
        }
    }

    /// The newest content, without marking it as drawn.
    Content content() const {
        const std::lock_guard guard(mutex_);
        return content_;
    }

    /// The newest content, and marks it as drawn.
    Content takeContent() {
        std::optional<Delivery> replaced;
        const std::lock_guard guard(mutex_);
        if (waiting_) {
            std::swap(replaced, drawn_);
            std::swap(drawn_, waiting_);
        }
        return content_;
    }

    /// The window system has the content that was taken last.
    void didReachScreen() {
        const HostTime now = clock_->now();
        std::optional<Delivery> delivery;
        {
            const std::lock_guard guard(mutex_);
            delivery = std::exchange(drawn_, std::nullopt);
        }
        if (!delivery) {
            return;
        }
        noteDelay(now - delivery->presentedAt);
        if (delivery->shown) {
            delivery->shown(now);
        }
    }

  private:
    struct Delivery {
        ShownHandler shown;
        HostTime presentedAt;
    };

    bool isAttached() const {
        const std::lock_guard guard(mutex_);
        return static_cast<bool>(wake_);
    }

    void prepareLocked(const PresentedFrame& frame) {
        if (!isAttached()) {
            prepared_ = nullptr;
        } else if (preparedFrom_ != frame.pixelBuffer || prepared_ == nullptr) {
            // Released first, so that the new picture reuses its memory.
            prepared_ = nullptr;
            prepared_ = convert_(frame);
            preparedFrom_ = frame.pixelBuffer;
        }
    }

    void deliver(Content content, std::optional<Delivery> delivery) {
        // Destroyed after the unlock, as in detach().
        std::optional<Delivery> drawn;
        const std::lock_guard guard(mutex_);
        if (!wake_) {
            return;
        }
        std::swap(content_, content);
        std::swap(waiting_, delivery);
        if (!waiting_) {
            std::swap(drawn, drawn_);
        }
        wake_();
    }

    /// Main thread. The delay is the median of the last ones: single delays of a hidden window or a
    /// busy system do not predict the next frame.
    void noteDelay(HostDuration delay) {
        constexpr HostDuration kLongest = std::chrono::milliseconds(100);
        if (delay < HostDuration::zero() || delay > kLongest) {
            return;
        }
        delays_[delayCount_++ % delays_.size()] = delay;
        auto sorted = delays_;
        const auto end = sorted.begin() + std::min(delayCount_, sorted.size());
        const auto middle = sorted.begin() + (end - sorted.begin() - 1) / 2;
        std::nth_element(sorted.begin(), middle, end);
        delay_.store(middle->count(), std::memory_order_relaxed);
    }

    const Convert convert_;
    const std::shared_ptr<HostClock> clock_;

    std::mutex conversionMutex_;
    PictureRef prepared_;
    CVPixelBufferRef preparedFrom_;
    /// The layer holds the frame as long as it may have to be drawn again.
    CVPixelBufferRef::weak_type newestFrame_;

    mutable std::mutex mutex_;
    WakeSurface wake_;
    Content content_;
    std::optional<Delivery> waiting_;
    std::optional<Delivery> drawn_;
    /// The newest replaces the oldest.
    std::array<HostDuration, 9> delays_{};
    std::size_t delayCount_ = 0;
    std::atomic<std::int64_t> delay_{0};
};

} // namespace zelvane
