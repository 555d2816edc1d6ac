// SPDX-License-Identifier: GPL-3.0-or-later
#include "preferences/jump_interval_field.h"

#include <algorithm>
#include <cmath>

namespace zelvane {

std::optional<double> jumpIntervalOf(const QString& text, const QLocale& locale) {
    bool isNumber = false;
    const double seconds = locale.toDouble(text.trimmed(), &isNumber);
    return isNumber && std::isfinite(seconds)
               ? std::optional(std::clamp(seconds, kShortestJumpInterval, kLongestJumpInterval))
               : std::nullopt;
}

JumpIntervalField::JumpIntervalField(double defaultInterval) : defaultInterval_(defaultInterval) {
    setDecimals(2);
    setRange(kShortestJumpInterval, kLongestJumpInterval);
    // The setting changes when the number is complete.
    setKeyboardTracking(false);
    setCorrectionMode(QAbstractSpinBox::CorrectToNearestValue);
}

double JumpIntervalField::valueFromText(const QString& text) const {
    return jumpIntervalOf(text, locale()).value_or(defaultInterval_);
}

QString JumpIntervalField::textFromValue(double value) const {
    return locale().toString(value, 'f', QLocale::FloatingPointShortest);
}

QValidator::State JumpIntervalField::validate(QString& text, int& /*position*/) const {
    const QString trimmed = text.trimmed();
    bool isNumber = false;
    locale().toDouble(trimmed, &isNumber);
    if (trimmed.isEmpty()) {
        return QValidator::Intermediate;
    }
    return isNumber ? QValidator::Acceptable : QValidator::Invalid;
}

void JumpIntervalField::fixup(QString& text) const {
    text = textFromValue(valueFromText(text));
}

} // namespace zelvane
