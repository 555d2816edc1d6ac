// SPDX-License-Identifier: GPL-3.0-or-later
#include "subtitles_json.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <type_traits>

#include <fmt/format.h>

#include "digest.h"

namespace zelvane::inspect {
namespace {

std::string colorText(const SRGBColor& color) {
    const auto byte = [](double component) {
        return static_cast<int>(std::lround(std::clamp(component, 0.0, 1.0) * 255));
    };
    return fmt::format("#{:02x}{:02x}{:02x}{:02x}", byte(color.red), byte(color.green),
                       byte(color.blue), byte(color.alpha));
}

Json valueJson(const SRGBColor& color) {
    return colorText(color);
}

Json valueJson(double value) {
    return value;
}

Json valueJson(int value) {
    return value;
}

Json valueJson(const Font& font) {
    return {{"family", font.familyName},
            {"size", font.pointSize},
            {"bold", (font.traits & kBoldFontMask) != 0},
            {"italic", (font.traits & kItalicFontMask) != 0}};
}

Json valueJson(const TextShadow& shadow) {
    return {{"x", shadow.offset.width},
            {"y", shadow.offset.height},
            {"blur", shadow.blurRadius},
            {"color", shadow.color ? Json(colorText(*shadow.color)) : Json(nullptr)}};
}

template <class Value>
void set(Json& json, const char* key, const std::optional<Value>& value) {
    if (value) {
        json[key] = valueJson(*value);
    }
}

Json attributesJson(const StringAttributes& attributes) {
    Json json = Json::object();
    set(json, "font", attributes.font);
    set(json, "color", attributes.foregroundColor);
    set(json, "background", attributes.backgroundColor);
    set(json, "kern", attributes.kern);
    set(json, "underline", attributes.underlineStyle);
    set(json, "strikethrough", attributes.strikethroughStyle);
    set(json, "strokeWidth", attributes.strokeWidth);
    set(json, "strokeColor", attributes.strokeColor);
    set(json, "shadow", attributes.shadow);
    return json;
}

Json runsJson(const AttributedString& string) {
    Json runs = Json::array();
    for (const auto& run : string.runs()) {
        Json json{{"text", string.textOf(run)}};
        json.update(attributesJson(run.attributes));
        runs.push_back(std::move(json));
    }
    return runs;
}

Json styleJson(const SubtitleTextStyle& style) {
    constexpr std::array kAlignments{"left", "center", "right"};
    const auto& insets = style.containerInsets;
    const auto& overlay = style.overlayStyle;
    const auto& scaling = style.scalingInfo;
    return {
        {"alignment", kAlignments.at(static_cast<std::size_t>(style.alignmentInContainer))},
        {"insets",
         {{"top", insets.top},
          {"left", insets.left},
          {"bottom", insets.bottom},
          {"right", insets.right}}},
        {"overlay",
         {{"width", overlay.insets.width},
          {"height", overlay.insets.height},
          {"cornerRadius", overlay.cornerRadius},
          {"color", colorText(overlay.backgroundColor)}}},
        {"baseFontSize", scaling.initialBaseFontSize},
        {"percentOfVideoHeight", scaling.baseFontSizePercentageRelativeToVideoHeight},
        {"fontSizeMultiplier", scaling.additionalFontSizeMultiplier},
        {"attributes", attributesJson(style.textAttributes.underlyingTextAttributes)},
        {"restrictsOverrides", style.shouldRestrictOverridesToBasicAttributes},
    };
}

Json itemJson(const FormattedTextSubtitle& subtitle) {
    const AttributedString& string = *subtitle.formattedText;
    return {
        {"text", string.text()}, {"runs", runsJson(string)}, {"style", styleJson(subtitle.style)}};
}

Json itemJson(const ImageSubtitle& subtitle) {
    const CGRect& frame = subtitle.imageFrame;
    Json json{{"x", frame.x}, {"y", frame.y}, {"w", frame.width}, {"h", frame.height}};
    if (const auto& dimensions = subtitle.videoDimensions) {
        json["of"] = {{"width", dimensions->width}, {"height", dimensions->height}};
    }
    json["sha256"] = pictureDigest(*subtitle.image);
    return json;
}

template <class Item>
Json itemsJson(const std::vector<Item>& items) {
    Json json = Json::array();
    for (const Item& item : items) {
        json.push_back(itemJson(item));
    }
    return json;
}

Json payloadJson(const TextSubtitle& subtitle) {
    return {{"kind", "text"}, {"text", subtitle.text}};
}

Json payloadJson(const std::vector<FormattedTextSubtitle>& subtitles) {
    return {{"kind", "formattedText"}, {"items", itemsJson(subtitles)}};
}

Json payloadJson(const std::vector<ImageSubtitle>& subtitles) {
    return {{"kind", "images"}, {"images", itemsJson(subtitles)}};
}

Json payloadJson(const ClearPreviousSubtitles& /*nothing*/) {
    return {{"kind", "clearPreviousSubtitles"}};
}

} // namespace

Json subtitlesFrameJson(const SubtitlesFrame& frame) {
    Json json{{"start", secondsJson(frame.startTime)}, {"end", secondsJson(frame.endTime)}};
    json.update(
        std::visit([](const auto& payload) { return payloadJson(payload); }, frame.subtitles));
    return json;
}

} // namespace zelvane::inspect
