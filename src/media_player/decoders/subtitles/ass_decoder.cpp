// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/subtitles/ass_decoder.h"

#include <utility>

#include "core_media/ffmpeg_error.h"
#include "foundation/dispatch.h"
#include "foundation/log.h"
#include "media_player/decoders/subtitles/ass_override_state.h"
#include "media_player/decoders/subtitles/ass_style_map.h"

namespace zelvane {
namespace {

std::unique_ptr<ASSSplitter> splitHeader(std::string_view headerBytes) {
    auto splitter = ASSSplitter::make(headerBytes);
    if (splitter == nullptr) {
        throw ASSDecodingError::invalidASSHeaderBytes();
    }
    return splitter;
}

constexpr std::int32_t kBottomCenter = 2;

std::vector<ASSStyleRecord> usableRecords(const ASSSplitter& splitter, ASSHeaderOrigin origin) {
    std::vector<ASSStyleRecord> records = splitter.styles();
    for (ASSStyleRecord& record : records) {
        const bool isAlignment = record.Alignment >= 1 && record.Alignment <= 9;
        if (origin == ASSHeaderOrigin::madeByLibrary && !isAlignment) {
            record.Alignment = kBottomCenter;
        }
    }
    return records;
}

/// SSA may prefix the names of styles with a star.
const SubtitleTextStyle& styleNamed(const ASSStyleMap& map, const std::string& name) {
    auto found = map.find(name);
    if (found == map.end() && name.substr(0, 1) == "*") {
        found = map.find(name.substr(1));
    }
    return found == map.end() ? map.find(kDefaultASSStyleName)->second : found->second;
}

double marginOf(std::int32_t ofLine, double ofStyle) {
    return ofLine == 0 ? ofStyle : ofLine;
}

SubtitleTextStyle baseStyle(const ASSDialogRecord& dialog, const SubtitleTextStyle& style) {
    SubtitleTextStyle result = style;
    NSEdgeInsets& insets = result.containerInsets;
    insets = {marginOf(dialog.MarginV, insets.top), marginOf(dialog.MarginL, insets.left),
              marginOf(dialog.MarginV, insets.bottom), marginOf(dialog.MarginR, insets.right)};
    return result;
}

} // namespace

/// The style map, which is read for each line and replaced when the user's settings change. It uses
/// copies of the records: they are read on the thread of the change.
class ASSDecoder::Styles {
  public:
    using Map = std::shared_ptr<const ASSStyleMap>;

    Styles(const ASSSplitter& splitter, ASSHeaderOrigin origin,
           std::shared_ptr<SubtitleTextStyling> styling)
        : records_(usableRecords(splitter, origin)),
          originalContainerSize_(originalContainerSize(splitter.scriptInfo())),
          styling_(std::move(styling)), styleNameToStyleMap_(make()) {}

    Map current() const {
        return styleNameToStyleMapQueue_->sync([this] { return styleNameToStyleMap_; });
    }

    void update() {
        styleNameToStyleMapQueue_->sync([this] {
            try {
                styleNameToStyleMap_ = make();
            } catch (const Error& error) {
                logMessage("Failed to update style map: {}.", errorDescriptionText(error));
            }
        });
    }

  private:
    Map make() const {
        return std::make_shared<const ASSStyleMap>(
            makeASSStyleMap(records_, originalContainerSize_, *styling_));
    }

    const std::vector<ASSStyleRecord> records_;
    const std::optional<CGSize> originalContainerSize_;
    const std::shared_ptr<SubtitleTextStyling> styling_;
    const std::shared_ptr<dispatch::SerialQueue> styleNameToStyleMapQueue_ =
        dispatch::makeSerialQueue("ASS Decoder Style Map Queue");
    Map styleNameToStyleMap_;
};

ASSDecoder::ASSDecoder(std::string_view headerBytes, ASSHeaderOrigin origin,
                       const std::shared_ptr<SubtitleTextStyling>& styling)
    : splitter_(splitHeader(headerBytes)),
      styles_(std::make_shared<Styles>(*splitter_, origin, styling)) {
    userSpecifiedStyleObserverToken_ =
        styling->addDecoderObserver([weak = std::weak_ptr<Styles>(styles_)] {
            if (const auto styles = weak.lock()) {
                styles->update();
            }
        });
}

ASSDecoder::~ASSDecoder() = default;

std::span<const ASSDialogRecord> ASSDecoder::splitDialogs(std::string_view text) {
    return splitter_->splitDialogs(text, false);
}

FormattedTextSubtitle ASSDecoder::formattedTextSubtitle(const ASSDialogRecord& dialog) const {
    const auto map = styles_->current();
    FormattedTextSubtitle result;
    const std::string styleName = dialog.Style.value_or(std::string(kDefaultASSStyleName));
    result.style = baseStyle(dialog, styleNamed(*map, styleName));
    ASSOverrideState state(result.style, *map);
    const std::string_view text = dialog.Text ? std::string_view(*dialog.Text) : std::string_view();
    checkedFFmpegCall([&] { return scanOverrideCodes(state, text); }, {.retryOnEAGAIN = true});
    result.formattedText = std::make_shared<const AttributedString>(state.takeOutput());
    return result;
}

} // namespace zelvane
