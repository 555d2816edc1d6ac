// SPDX-License-Identifier: GPL-3.0-or-later
#include "buffer_json.h"

#include "digest.h"

namespace zelvane::inspect {

Json frameJson(const CMSampleBuffer& buffer, const CMTime& start) {
    const auto& picture = *buffer.imageBuffer();
    return {{"pts", secondsJson(buffer.presentationTimeStamp(), start)},
            {"duration", secondsJson(buffer.duration())},
            {"pixelFormat", fourCharCodeText(picture.pixelFormat())},
            {"width", picture.width()},
            {"height", picture.height()},
            {"attachments", attachmentsJson(picture.attachments())},
            {"sha256", pictureDigest(picture)}};
}

Json audioJson(const CMSampleBuffer& buffer, const CMTime& start) {
    const auto& format = *buffer.formatDescription()->audio();
    const auto& stream = format.streamDescription;
    return {{"pts", secondsJson(buffer.presentationTimeStamp(), start)},
            {"frames", buffer.sampleCount()},
            {"sampleRate", stream.mSampleRate},
            {"channels", stream.mChannelsPerFrame},
            {"layoutTag", format.channelLayoutTag},
            {"formatFlags", stream.mFormatFlags},
            {"bitsPerChannel", stream.mBitsPerChannel},
            {"sha256", dataDigest(*buffer.dataBuffer())}};
}

} // namespace zelvane::inspect
