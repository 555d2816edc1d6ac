// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace zelvane {

/// Plays sound faster or slower at its own pitch: Rubber Band's finer engine, with what it needs
/// before the first frame and what it delays taken off, so that output frame k is input frame
/// k * rate. One thread at a time.
class TimeStretcher {
  public:
    /// Rates are kept within 1/16 and 16, beyond which nothing is left to hear.
    TimeStretcher(int sampleRate, int channelCount, double rate);
    ~TimeStretcher();
    TimeStretcher(const TimeStretcher&) = delete;
    TimeStretcher& operator=(const TimeStretcher&) = delete;

    /// Takes whole interleaved frames and appends to `output` what has come through.
    void process(std::span<const float> interleaved, std::vector<float>& output);

  private:
    class Engine;
    std::unique_ptr<Engine> engine_;
};

} // namespace zelvane
