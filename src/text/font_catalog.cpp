// SPDX-License-Identifier: GPL-3.0-or-later
#include "text/font_catalog.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <unordered_map>

#include <fontconfig/fontconfig.h>

#include "foundation/release.h"
#include "foundation/text.h"

namespace zelvane {
namespace {

constexpr std::string_view kGenericFamily = "sans-serif";
/// Finding a replacement for a family takes most of a millisecond, and a script may name any
/// number: above this limit, names that are not installed are not looked up.
constexpr std::size_t kMaximumRememberedNames = 1024;

using Config = std::unique_ptr<FcConfig, Release<FcConfigDestroy>>;
using Pattern = std::unique_ptr<FcPattern, Release<FcPatternDestroy>>;
using ObjectSet = std::unique_ptr<FcObjectSet, Release<FcObjectSetDestroy>>;
using FontSet = std::unique_ptr<FcFontSet, Release<FcFontSetDestroy>>;

/// A family, and the traits that its name implies.
struct Face {
    std::string familyName;
    FontTraitMask traits = 0;
};

using FacesByName = std::unordered_map<std::string, Face>;

std::string folded(std::string_view name) {
    std::string result(name);
    std::transform(result.begin(), result.end(), result.begin(), loweredASCII);
    return result;
}

std::string_view text(const FcChar8* bytes) {
    return reinterpret_cast<const char*>(bytes);
}

std::string_view stringOf(const FcPattern* pattern, const char* object, int index) {
    FcChar8* value = nullptr;
    return FcPatternGetString(pattern, object, index, &value) == FcResultMatch ? text(value)
                                                                               : std::string_view();
}

int integerOf(const FcPattern* pattern, const char* object, int otherwise) {
    int value = otherwise;
    // Variable fonts return a range: they have every weight, and none by name.
    return FcPatternGetInteger(pattern, object, 0, &value) == FcResultMatch ? value : otherwise;
}

FontTraitMask traitsOf(const FcPattern* font) {
    const bool isBold = integerOf(font, FC_WEIGHT, FC_WEIGHT_REGULAR) >= FC_WEIGHT_DEMIBOLD;
    const bool isItalic = integerOf(font, FC_SLANT, FC_SLANT_ROMAN) != FC_SLANT_ROMAN;
    return (isBold ? kBoldFontMask : 0) | (isItalic ? kItalicFontMask : 0);
}

FontSet installedFonts(FcConfig* config) {
    const Pattern all(FcPatternCreate());
    const ObjectSet wanted(FcObjectSetBuild(FC_FAMILY, FC_FULLNAME, FC_POSTSCRIPT_NAME, FC_WEIGHT,
                                            FC_SLANT, static_cast<char*>(nullptr)));
    return all && wanted ? FontSet(FcFontList(config, all.get(), wanted.get())) : nullptr;
}

void addNames(FacesByName& faces, const FcPattern* font, const char* object, const Face& face) {
    for (int i = 0;; ++i) {
        const std::string_view name = stringOf(font, object, i);
        if (name.empty()) {
            return;
        }
        faces.try_emplace(folded(name), face);
    }
}

void addFamilies(FacesByName& faces, const FcPattern* font) {
    for (int i = 0;; ++i) {
        const std::string_view name = stringOf(font, FC_FAMILY, i);
        if (name.empty()) {
            return;
        }
        faces.try_emplace(folded(name), Face{std::string(name), 0});
    }
}

/// Families precede faces, so that a face never hides a family of the same name.
FacesByName facesByName(FcConfig* config) {
    FacesByName faces;
    const FontSet fonts = installedFonts(config);
    if (fonts == nullptr) {
        return faces;
    }
    for (int i = 0; i < fonts->nfont; ++i) {
        addFamilies(faces, fonts->fonts[i]);
    }
    for (int i = 0; i < fonts->nfont; ++i) {
        const FcPattern* font = fonts->fonts[i];
        const Face face{std::string(stringOf(font, FC_FAMILY, 0)), traitsOf(font)};
        if (!face.familyName.empty()) {
            addNames(faces, font, FC_FULLNAME, face);
            addNames(faces, font, FC_POSTSCRIPT_NAME, face);
        }
    }
    return faces;
}

Pattern substitutedPattern(FcConfig* config, const std::string& familyName) {
    Pattern pattern(FcPatternCreate());
    const auto* name = reinterpret_cast<const FcChar8*>(familyName.c_str());
    if (pattern == nullptr || FcPatternAddString(pattern.get(), FC_FAMILY, name) == FcFalse ||
        FcConfigSubstitute(config, pattern.get(), FcMatchPattern) == FcFalse) {
        return nullptr;
    }
    return pattern;
}

} // namespace

struct FontCatalog::State {
    std::mutex mutex;
    Config config{FcInit() == FcTrue ? FcConfigReference(nullptr) : nullptr};
    FacesByName installed;
    std::unordered_map<std::string, std::optional<Face>> remembered;
    std::string systemFamily;

    State() {
        if (config != nullptr) {
            installed = facesByName(config.get());
        }
        systemFamily = matchedSystemFamily();
    }

    std::string matchedSystemFamily() const {
        const Pattern pattern =
            config ? substitutedPattern(config.get(), std::string(kGenericFamily)) : nullptr;
        if (pattern != nullptr) {
            FcDefaultSubstitute(pattern.get());
            FcResult result = FcResultNoMatch;
            const Pattern match(FcFontMatch(config.get(), pattern.get(), &result));
            const auto family = match ? stringOf(match.get(), FC_FAMILY, 0) : std::string_view();
            if (!family.empty()) {
                return std::string(family);
            }
        }
        return std::string(kGenericFamily);
    }

    /// Among the replacements of a family, those with a weak binding are only fallbacks.
    std::optional<Face> substitute(const std::string& name) const {
        const Pattern pattern = config ? substitutedPattern(config.get(), name) : nullptr;
        FcValue value;
        FcValueBinding binding = FcValueBindingWeak;
        for (int i = 0;
             pattern != nullptr && FcPatternGetWithBinding(pattern.get(), FC_FAMILY, i, &value,
                                                           &binding) == FcResultMatch;
             ++i) {
            if (binding == FcValueBindingWeak || value.type != FcTypeString) {
                continue;
            }
            const auto found = installed.find(folded(text(value.u.s)));
            if (found != installed.end()) {
                return found->second;
            }
        }
        return std::nullopt;
    }

    std::optional<Face> find(std::string_view name) {
        const std::string key = folded(name);
        const auto found = installed.find(key);
        if (found != installed.end()) {
            return found->second;
        }
        const std::lock_guard lock(mutex);
        const auto known = remembered.find(key);
        if (known != remembered.end()) {
            return known->second;
        }
        if (remembered.size() >= kMaximumRememberedNames) {
            return std::nullopt;
        }
        return remembered.emplace(key, substitute(key)).first->second;
    }
};

FontCatalog& FontCatalog::shared() {
    // Never destroyed: threads may decode until the process ends.
    static FontCatalog& catalog = *std::make_unique<FontCatalog>().release();
    return catalog;
}

FontCatalog::FontCatalog() : state_(std::make_unique<State>()) {}

FontCatalog::~FontCatalog() = default;

std::optional<Font> FontCatalog::font(std::string_view name, double pointSize) const {
    if (name.empty() || !isValidUTF8(name)) {
        return std::nullopt;
    }
    const auto face = state_->find(name);
    return face ? std::optional(Font{face->familyName, pointSize, face->traits}) : std::nullopt;
}

Font FontCatalog::helvetica(double pointSize) const {
    return font("Helvetica", pointSize).value_or(systemFont(pointSize));
}

Font FontCatalog::systemFont(double pointSize) const {
    return {state_->systemFamily, pointSize, 0};
}

} // namespace zelvane
