// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/error_alert.h"

#include <gtest/gtest.h>

#include <QMessageBox>
#include <QPushButton>

#include "foundation/error.h"
#include "tests/player_window/window_test_support.h"

namespace zelvane {
namespace {

TEST(ErrorAlert, showsDescriptionReasonAndSuggestion) {
    const std::unique_ptr<QMessageBox> alert(makeErrorAlert(
        LocalizedError("case", "“<b>.mkv” cannot be opened.", "It is empty.", "Try another."),
        "film.mkv", nullptr));
    EXPECT_EQ(alert->windowTitle(), "film.mkv");
    EXPECT_GE(alert->sizeHint().width(), 400) << "the title would be elided";
    EXPECT_LT(alert->palette().color(QPalette::Window).lightness(), 64);
    EXPECT_EQ(alert->icon(), QMessageBox::Critical);
    EXPECT_EQ(alert->text(), "“<b>.mkv” cannot be opened.");
    EXPECT_EQ(alert->informativeText(), "It is empty. Try another.");
    EXPECT_EQ(alert->textFormat(), Qt::PlainText);
    ASSERT_EQ(alert->buttons().size(), 1);
    EXPECT_EQ(alert->buttons()[0]->text(), "OK");
}

TEST(ErrorAlert, omitsMissingTexts) {
    const auto informative = [](std::optional<std::string> reason,
                                std::optional<std::string> suggestion) {
        const std::unique_ptr<QMessageBox> alert(makeErrorAlert(
            LocalizedError("case", "Message", std::move(reason), std::move(suggestion)), {},
            nullptr));
        return alert->informativeText();
    };
    EXPECT_EQ(informative(std::nullopt, "Try another."), "Try another.");
    EXPECT_EQ(informative("It is empty.", std::nullopt), "It is empty.");
    EXPECT_EQ(informative(std::nullopt, std::nullopt), "");
}

TEST(ErrorAlert, showsThePlainDescriptionOfOtherErrors) {
    const std::unique_ptr<QMessageBox> alert(makeErrorAlert(Error("no such thing"), {}, nullptr));
    EXPECT_EQ(alert->text(), "no such thing");
}

TEST(ErrorAlert, isASheetOnItsWindowAndReportsItsDismissal) {
    QWidget window;
    ASSERT_TRUE(test::showAndWait(window));
    int dismissals = 0;
    showErrorAlert(Error("no such thing"), {}, &window, [&] { ++dismissals; });
    auto* alert = window.findChild<QMessageBox*>();
    ASSERT_NE(alert, nullptr);
    EXPECT_TRUE(alert->isVisible());
    EXPECT_EQ(alert->windowModality(), Qt::WindowModal);
    alert->buttons()[0]->click();
    EXPECT_EQ(dismissals, 1);
    EXPECT_TRUE(test::runUntil([&] { return window.findChild<QMessageBox*>() == nullptr; }));
}

} // namespace
} // namespace zelvane
