// SPDX-License-Identifier: GPL-3.0-or-later
#include "rendering/time_stretcher.h"

#include <algorithm>
#include <cstddef>

#include <rubberband/RubberBandStretcher.h>

namespace zelvane {

using RubberBand::RubberBandStretcher;

class TimeStretcher::Engine {
  public:
    Engine(int sampleRate, int channelCount, double rate)
        : channels_(static_cast<std::size_t>(channelCount)),
          stretcher_(static_cast<std::size_t>(sampleRate), channels_,
                     RubberBandStretcher::OptionProcessRealTime |
                         RubberBandStretcher::OptionEngineFiner,
                     1.0 / std::clamp(rate, 1.0 / 16, 16.0)),
          planes_(channels_, std::vector<float>(kBlock)), pointers_(channels_) {
        for (std::size_t channel = 0; channel < channels_; ++channel) {
            pointers_[channel] = planes_[channel].data();
        }
        stretcher_.setMaxProcessSize(kBlock);
        frameDelay_ = stretcher_.getStartDelay();
        const std::vector<float> padding(stretcher_.getPreferredStartPad() * channels_);
        std::vector<float> nothing;
        process(padding, nothing);
        pending_.insert(pending_.end(), nothing.begin(), nothing.end());
    }

    void process(std::span<const float> interleaved, std::vector<float>& output) {
        output.insert(output.end(), pending_.begin(), pending_.end());
        pending_.clear();
        const std::size_t frames = interleaved.size() / channels_;
        for (std::size_t done = 0; done < frames; done += kBlock) {
            const auto count = std::min(kBlock, frames - done);
            split(interleaved.subspan(done * channels_, count * channels_));
            stretcher_.process(pointers_.data(), count, false);
            retrieve(output);
        }
    }

  private:
    static constexpr std::size_t kBlock = 1024;

    void split(std::span<const float> interleaved) {
        for (std::size_t i = 0; i < interleaved.size(); ++i) {
            planes_[i % channels_][i / channels_] = interleaved[i];
        }
    }

    void retrieve(std::vector<float>& output) {
        while (stretcher_.available() > 0) {
            const auto got = stretcher_.retrieve(
                pointers_.data(),
                std::min(kBlock, static_cast<std::size_t>(stretcher_.available())));
            const auto dropped = std::min(frameDelay_, got);
            frameDelay_ -= dropped;
            for (std::size_t frame = dropped; frame < got; ++frame) {
                for (const auto& plane : planes_) {
                    output.push_back(plane[frame]);
                }
            }
        }
    }

    const std::size_t channels_;
    RubberBandStretcher stretcher_;
    std::vector<std::vector<float>> planes_;
    std::vector<float*> pointers_;
    /// Output frames before the first input frame that are still to be dropped.
    std::size_t frameDelay_ = 0;
    std::vector<float> pending_;
};

TimeStretcher::TimeStretcher(int sampleRate, int channelCount, double rate)
    : engine_(std::make_unique<Engine>(sampleRate, channelCount, rate)) {}
TimeStretcher::~TimeStretcher() = default;

void TimeStretcher::process(std::span<const float> interleaved, std::vector<float>& output) {
    engine_->process(interleaved, output);
}

} // namespace zelvane
