// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "media_player/media_source/packet_source.h"
#include "media_player/playback/data_provider.h"

namespace zelvane {

/// Keeps the audio renderer fed with the selected track. Used on its queue.
class AudioDataProvider final : public DataProvider {
  public:
    AudioDataProvider(std::shared_ptr<PacketSource> mediaSource,
                      std::shared_ptr<AudioRendering> audioRenderer);

    void setAudioTrack(std::shared_ptr<AudioTrack> track);

  private:
    Feeding provideNext() override;
    void seekTracks(const CMTime& time) override;

    std::shared_ptr<PacketSource> mediaSource_;
    std::shared_ptr<AudioRendering> audioRenderer_;
    std::shared_ptr<AudioTrack> selectedAudioTrack_;
};

} // namespace zelvane
