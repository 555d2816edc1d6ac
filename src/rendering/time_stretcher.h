// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace zelvane {

/// Plays sound faster or slower at its own pitch, by Rubber Band's finer engine. Its start padding
/// and its delay are removed, so that output frame k is input frame k * rate. One thread at a time.
class TimeStretcher {
  public:
    /// Rates are limited to 1/16 and 16.
    TimeStretcher(int sampleRate, int channelCount, double rate);
    ~TimeStretcher();
    TimeStretcher(const TimeStretcher&) = delete;
    TimeStretcher& operator=(const TimeStretcher&) = delete;

    /// Processes whole interleaved frames and appends the result to `output`.
    void process(std::span<const float> interleaved, std::vector<float>& output);

  private:
    class Engine;
    std::unique_ptr<Engine> engine_;
};

} // namespace zelvane
