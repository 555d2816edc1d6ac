// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

#include "foundation/error.h"

namespace zelvane {

/// The reason why a script, or a line of it, is unusable.
class ASSDecodingError : public Error {
  public:
    enum class Case {
        duplicateStyleName,
        invalidTextAlignmentValue,
        invalidASSHeaderBytes,
        invalidDialogBytes,
    };

    static ASSDecodingError duplicateStyleName(const std::string& name);
    static ASSDecodingError invalidTextAlignmentValue(std::int32_t value);
    static ASSDecodingError invalidASSHeaderBytes();
    static ASSDecodingError invalidDialogBytes();

    Case errorCase() const { return case_; }
    /// For duplicateStyleName.
    const std::string& styleName() const { return styleName_; }
    /// For invalidTextAlignmentValue.
    std::int32_t alignmentValue() const { return alignmentValue_; }

    friend bool operator==(const ASSDecodingError& a, const ASSDecodingError& b) {
        return a.case_ == b.case_ && a.styleName_ == b.styleName_ &&
               a.alignmentValue_ == b.alignmentValue_;
    }

  private:
    ASSDecodingError(Case errorCase, std::string styleName, std::int32_t alignmentValue,
                     std::string description);

    Case case_;
    std::string styleName_;
    std::int32_t alignmentValue_;
};

} // namespace zelvane
