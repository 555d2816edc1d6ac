// SPDX-License-Identifier: GPL-3.0-or-later
#include <QDialog>
#include <QKeyEvent>
#include <QProcess>
#include <QToolButton>

#include <gtest/gtest.h>

#include "foundation/user_defaults.h"
#include "preferences_window/pane_resizing.h"
#include "preferences_window/preferences_window_controller.h"
#include "tests/player_window/window_test_support.h"

namespace zelvane {
namespace {

constexpr auto kLastViewedKey = "ZLPWLastViewedPreferencePaneIdentifier";

/// Counts how often it was shown.
class Pane final : public PreferencePane {
  public:
    Pane(const std::string& identifier, QSize size) : PreferencePane({identifier}), size_(size) {
        setWindowTitle(QString::fromStdString("The " + identifier));
    }
    QPixmap toolbarItemImage(double, double, const QColor&) const override { return {}; }
    QSize sizeHint() const override { return size_; }
    void showEvent(QShowEvent* /*event*/) override { ++shows; }

    int shows = 0;

  private:
    const QSize size_;
};

class PreferencesWindowTest : public testing::Test {
  protected:
    PreferencesWindowTest() { QGuiApplication::setApplicationDisplayName("Zelvane"); }

    void makeWindow(const std::string& letters) {
        controller_ = nullptr;
        std::vector<std::unique_ptr<PreferencePane>> panes;
        panes_.clear();
        for (const char letter : letters) {
            const int order = letter - 'a';
            auto pane = std::make_unique<Pane>(std::string(1, letter),
                                               QSize(300 + 50 * order, 100 + 100 * order));
            panes_[letter] = pane.get();
            panes.push_back(std::move(pane));
        }
        controller_ = std::make_unique<PreferencesWindowController>(
            std::move(panes), defaults_, [this] { return reducesMotion_; });
    }
    void show() {
        controller_->showWindow();
        ASSERT_TRUE(test::runUntil([this] { return window().windowHandle()->isExposed(); }));
    }
    QDialog& window() const { return controller_->window(); }
    std::string title() const { return window().windowTitle().toStdString(); }
    QList<QToolButton*> items() const { return window().findChildren<QToolButton*>(); }
    /// The letters of the visible panes.
    std::string visible() const {
        std::string letters;
        for (const auto& [letter, pane] : panes_) {
            letters += pane->isVisible() ? std::string(1, letter) : "";
        }
        return letters;
    }

    UserDefaults defaults_;
    bool reducesMotion_ = true;
    std::map<char, Pane*> panes_;
    std::unique_ptr<PreferencesWindowController> controller_;
};

TEST_F(PreferencesWindowTest, opensWithThePaneThatWasViewedLast) {
    const struct {
        std::string panes;
        std::optional<DefaultsValue> stored;
        std::string visible;
        std::string title;
        int items;
    } cases[] = {
        {"a", std::nullopt, "a", "Zelvane Preferences", 0},
        {"ab", std::nullopt, "a", "The a", 2},
        {"ab", "b", "b", "The b", 2},
        {"ab", "gone", "a", "The a", 2},
        {"ab", "", "a", "The a", 2},
        {"abc", std::int64_t{7}, "a", "The a", 3},
    };
    for (const auto& given : cases) {
        defaults_.set(kLastViewedKey, given.stored);
        makeWindow(given.panes);
        show();
        EXPECT_EQ(visible(), given.visible);
        EXPECT_EQ(title(), given.title);
        EXPECT_EQ(items().size(), given.items);
        EXPECT_EQ(defaults_.stringForKey(kLastViewedKey), given.visible);
    }
}

TEST_F(PreferencesWindowTest, keepsTheWidthOfTheWidestPaneAndTheTopEdge) {
    makeWindow("abc");
    show();
    const int width = window().width();
    const int top = window().geometry().top();
    const int height = window().height();
    EXPECT_EQ(width, 400);
    items()[2]->click();
    EXPECT_EQ(visible(), "c");
    EXPECT_TRUE(test::runUntil([&] { return window().height() == height + 200; }));
    EXPECT_EQ(window().geometry().top(), top);
    EXPECT_EQ(window().width(), width);
    EXPECT_EQ(title(), "The c");
    EXPECT_EQ(defaults_.stringForKey(kLastViewedKey), "c");
    EXPECT_TRUE(items()[2]->isChecked() && !items()[0]->isChecked());
}

TEST_F(PreferencesWindowTest, neverShowsAPaneThatWasLeftWhileTheHeightChanged) {
    reducesMotion_ = false;
    makeWindow("abc");
    show();
    const int height = window().height();
    items()[1]->click();
    EXPECT_EQ(visible(), "") << "the height changes first";
    items()[2]->click();
    EXPECT_TRUE(test::runUntil([&] { return visible() == "c"; }));
    EXPECT_EQ(panes_['b']->shows, 0);
    EXPECT_TRUE(test::runUntil([&] { return window().height() == height + 200; }));
    items()[1]->click();
    items()[0]->click();
    items()[2]->click();
    EXPECT_TRUE(test::runUntil([&] { return visible() == "c"; }));
    EXPECT_EQ(window().height(), height + 200);
    EXPECT_EQ(panes_['a']->shows, 1);
}

TEST_F(PreferencesWindowTest, followsTheTitlesOfItsPanes) {
    makeWindow("ab");
    panes_['a']->setWindowTitle("First");
    panes_['b']->setWindowTitle("");
    EXPECT_EQ(items()[0]->text(), "First");
    EXPECT_EQ(items()[1]->text(), "Preferences");
    EXPECT_EQ(title(), "First");
    controller_->showPane({"b"});
    EXPECT_EQ(title(), "Zelvane Preferences");
    panes_['a']->setWindowTitle("Again");
    EXPECT_EQ(title(), "Zelvane Preferences");
}

TEST_F(PreferencesWindowTest, closesByItsKeysAndKeepsItsPaneAndPlace) {
    makeWindow("ab");
    show();
    const QRect work = window().screen()->availableGeometry();
    EXPECT_LE((window().geometry().center() - work.center()).manhattanLength(), 2);
    items()[0]->setFocus();
    QKeyEvent arrow(QEvent::KeyPress, Qt::Key_Right, Qt::NoModifier);
    QCoreApplication::sendEvent(items()[0], &arrow);
    EXPECT_EQ(visible(), "b");
    window().move(40, 50);
    for (const char* keys : {"Escape", "ctrl+w"}) {
        window().activateWindow();
        ASSERT_TRUE(test::runUntil([&] { return window().isActiveWindow(); }));
        if (QProcess::execute("xdotool", {"key", keys}) < 0) {
            GTEST_SKIP() << "xdotool is not installed";
        }
        EXPECT_TRUE(test::runUntil([&] { return !window().isVisible(); })) << keys;
        show();
        EXPECT_EQ(visible(), "b");
        EXPECT_EQ(window().pos(), QPoint(40, 50));
    }
}

TEST(PaneResizing, staysOnTheScreenAndTakesTimeByTheDistance) {
    EXPECT_EQ(paneHeightFor(500, 800, 120), (PaneHeight{500, false}));
    EXPECT_EQ(paneHeightFor(680, 800, 120), (PaneHeight{680, false}));
    EXPECT_EQ(paneHeightFor(681, 800, 120), (PaneHeight{680, true}));
    EXPECT_EQ(paneHeightFor(500, 100, 120), (PaneHeight{120, true}));
    const QRect work(0, 20, 800, 580);
    EXPECT_EQ(distanceUp(QRect(0, 100, 300, 500), work), 0);
    EXPECT_EQ(distanceUp(QRect(0, 150, 300, 500), work), 50);
    EXPECT_EQ(distanceUp(QRect(0, 30, 300, 900), work), 10);
    EXPECT_EQ(distanceUp(QRect(0, -5, 300, 900), work), 0);
    EXPECT_EQ(animationResizeTime(100, 250, false), 200);
    EXPECT_EQ(animationResizeTime(250, 175, false), 100);
    EXPECT_EQ(animationResizeTime(100, 900, false), 300);
    EXPECT_EQ(animationResizeTime(100, 900, true), 0);
}

TEST(PreferencePaneViewControllersDeathTest, rejectTwoPanesOfOneIdentifier) {
    Pane first("a", {});
    Pane second("a", {});
    EXPECT_DEATH(PreferencePaneViewControllers({&first, &second}), "same identifier");
}

} // namespace
} // namespace zelvane
