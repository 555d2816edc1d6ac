// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include <QDoubleSpinBox>
#include <QLocale>

namespace zelvane {

/// The shortest and the longest jump, in seconds.
inline constexpr double kShortestJumpInterval = 1;
inline constexpr double kLongestJumpInterval = 300;

/// The seconds that a text states, within the limits; none for a text without a number.
std::optional<double> jumpIntervalOf(const QString& text, const QLocale& locale);

/// A field and a stepper for the seconds of a jump. An emptied field returns to the default. Main
/// thread.
class JumpIntervalField final : public QDoubleSpinBox {
    Q_OBJECT

  public:
    explicit JumpIntervalField(double defaultInterval);

    double valueFromText(const QString& text) const override;
    QString textFromValue(double value) const override;
    QValidator::State validate(QString& text, int& position) const override;
    void fixup(QString& text) const override;

  private:
    const double defaultInterval_;
};

} // namespace zelvane
