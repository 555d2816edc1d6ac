// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <utility>

#include "rendering/video_presenter.h"

namespace zelvane {

/// Draws nothing and reports each frame as shown at once: for playing without a window.
class NullVideoPresenter final : public VideoPresenter {
  public:
    explicit NullVideoPresenter(std::shared_ptr<HostClock> clock = HostClock::system())
        : clock_(std::move(clock)) {}

    void prepare(const PresentedFrame& /*frame*/) override {}
    void present(const PresentedFrame& /*frame*/, ShownHandler shown) override {
        shown(clock_->now());
    }
    void removeImage() override {}
    HostDuration presentationDelay() const override { return HostDuration(0); }

  private:
    std::shared_ptr<HostClock> clock_;
};

} // namespace zelvane
