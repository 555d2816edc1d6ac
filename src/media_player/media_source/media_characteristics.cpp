// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/media_characteristics.h"

#include "core_media/ffmpeg.h"

namespace zelvane {

MediaCharacteristics mediaCharacteristicsFromDisposition(int disposition) {
    MediaCharacteristics characteristics;
    if ((disposition & AV_DISPOSITION_VISUAL_IMPAIRED) != 0) {
        characteristics.insert(MediaCharacteristics::describesVideoForAccessibility);
    }
    if ((disposition & AV_DISPOSITION_HEARING_IMPAIRED) != 0) {
        // On a caption for the hearing impaired, clean effects mark the fuller kind of caption.
        const bool fuller = (disposition & AV_DISPOSITION_CLEAN_EFFECTS) != 0;
        characteristics.insert(fuller
                                   ? MediaCharacteristics::describesMusicAndSoundForAccessibility
                                   : MediaCharacteristics::transcribesSpokenDialogForAccessibility);
    }
    return characteristics;
}

} // namespace zelvane
