// SPDX-License-Identifier: GPL-3.0-or-later
#include "rendering/fallback_audio_output.h"

#include <utility>

namespace zelvane {

FallbackAudioOutput::FallbackAudioOutput(std::unique_ptr<AudioOutput> preferred,
                                         std::unique_ptr<AudioOutput> fallback)
    : fallback_(std::move(fallback)), preferred_(std::move(preferred)) {}

void FallbackAudioOutput::open(EventHandler handler) {
    handler_ = std::move(handler);
    fallback_->open([this](Event event) {
        if (usesFallback_) {
            handler_(event);
        }
    });
    preferred_->open([this](Event event) { preferredDid(event); });
}

void FallbackAudioOutput::preferredDid(Event event) {
    const bool wasFallback = usesFallback_;
    if (event == Event::lost || event == Event::settled) {
        usesFallback_ = preferred_->state() == State::unavailable;
        if (wasFallback && !usesFallback_) {
            fallback_->stop();
            fallback_->flush();
        }
    }
    // Do not report repeated failures to connect while the fallback plays.
    if (!wasFallback || !usesFallback_) {
        handler_(event);
    }
}

void FallbackAudioOutput::setDevice(std::optional<std::string> uniqueID) {
    preferred_->setDevice(std::move(uniqueID));
}

AudioOutput::State FallbackAudioOutput::state() const {
    return active().state();
}

} // namespace zelvane
