// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <memory>
#include <string>
#include <variant>

#include "foundation/state_coder.h"
#include "media_player/media_source/packet_source.h"

namespace zelvane::test {

inline std::shared_ptr<SubtitlesTrack> subtitlesTrack(const std::string& id) {
    auto track = std::make_shared<SubtitlesTrack>("source", MediaTrack::Facts{}, nullptr);
    track->setID(id);
    return track;
}

inline std::shared_ptr<AudioTrack> audioTrack(const std::string& id) {
    auto track = std::make_shared<AudioTrack>("source", MediaTrack::Facts{}, nullptr);
    track->setID(id);
    return track;
}

inline std::shared_ptr<VideoTrack> videoTrack(const std::string& id) {
    auto track = std::make_shared<VideoTrack>("source", MediaTrack::Facts{},
                                              VideoDimensions(16, 16, std::nullopt, 1),
                                              std::nullopt, nullptr);
    track->setID(id);
    return track;
}

/// A state in memory.
class MemoryStateCoder final : public StateCoder {
  public:
    void encodeString(std::string_view key, const std::string& text) override { set(key, text); }
    void encodeTime(std::string_view key, const CMTime& time) override { set(key, time); }
    void encodeFloat(std::string_view key, float number) override { set(key, number); }
    std::optional<std::string> decodeString(std::string_view key) const override {
        return get<std::string>(key);
    }
    std::optional<CMTime> decodeTime(std::string_view key) const override {
        return get<CMTime>(key);
    }
    std::optional<float> decodeFloat(std::string_view key) const override {
        return get<float>(key);
    }
    std::size_t count() const { return values_.size(); }

  private:
    using Value = std::variant<std::string, CMTime, float>;
    void set(std::string_view key, const Value& value) {
        values_.insert_or_assign(std::string(key), value);
    }
    template <class T>
    std::optional<T> get(std::string_view key) const {
        const auto found = values_.find(key);
        const T* value = found == values_.end() ? nullptr : std::get_if<T>(&found->second);
        return value == nullptr ? std::nullopt : std::optional(*value);
    }
    std::map<std::string, Value, std::less<>> values_;
};

} // namespace zelvane::test
