// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/tracks/tracks_popover.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPushButton>

#include "player_window/controls/discrete_slider.h"
#include "player_window/tracks/tracks_popover_layout.h"
#include "player_window/tracks/tracks_popover_row.h"
#include "tests/player_window/window_test_support.h"

namespace zelvane {
namespace {

void sendMouse(QWidget& widget, QEvent::Type type, const QPoint& place) {
    QMouseEvent event(type, place, widget.mapToGlobal(place), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QCoreApplication::sendEvent(&widget, &event);
}

void clickOn(QWidget& widget) {
    sendMouse(widget, QEvent::MouseButtonPress, widget.rect().center());
    sendMouse(widget, QEvent::MouseButtonRelease, widget.rect().center());
}

TEST(TracksPopoverLayout, isAboveThePanelWhileEnoughOfItFits) {
    const CGRect panel{334, 607, 611, 92};
    const CGRect button{866, 624, 30, 30};
    const CGSize window{1280, 720};
    EXPECT_EQ(tracksPopoverRect(button, panel, window, 318), (CGRect{615, 279, 330, 318}));
    EXPECT_EQ(tracksPopoverRect(button, panel, window, 900), (CGRect{615, 40, 330, 557}));
    EXPECT_EQ(tracksPopoverRect({500, 624, 30, 30}, panel, window, 318).x, 350);
    const CGRect lowPanel{21, 123, 377, 92};
    EXPECT_EQ(tracksPopoverRect({340, 140, 30, 30}, lowPanel, {419, 236}, 400),
              (CGRect{68, 40, 330, 188}));
    EXPECT_EQ(tracksPopoverRect({340, 60, 30, 30}, {0, 40, 377, 92}, {377, 132}, 400),
              (CGRect{39, 8, 330, 116}));
}

class TracksPopoverTest : public testing::Test {
  protected:
    TracksPopoverTest() {
        window_.resize(800, 600);
        panel_.setGeometry(100, 480, 600, 92);
        button_.setGeometry(500, 20, 30, 30);
        QObject::connect(&button_, &QPushButton::clicked, [this] { popover_.openFor(button_); });
        QObject::connect(&popover_, &TracksPopover::closed, [this] { reports_ += "closed "; });
        QObject::connect(&popover_, &TracksPopover::addSubtitlesChosen,
                         [this] { reports_ += "add "; });
        QObject::connect(&popover_, &TracksPopover::rateChosen, [this](float rate) {
            reports_ += std::to_string(rate).substr(0, 4) + ' ';
        });
        QObject::connect(&popover_, &TracksPopover::trackChosen,
                         [this](TrackRole role, const auto&) {
                             reports_ += role == TrackRole::primarySubtitles ? "bottom " : "other ";
                         });
        popover_.setModel(modelOf(true));
    }

    static TracksPopoverModel modelOf(bool isFirstChecked, int extraRows = 0) {
        TracksPopoverModel model{{{"Audio Tracks", TrackRole::audio, {{"English", true, nullptr}}},
                                  {"Subtitle Tracks",
                                   TrackRole::primarySubtitles,
                                   {{"German & <b>more</b>", isFirstChecked, nullptr}}}},
                                 true,
                                 1.25F};
        for (int i = 0; i < extraRows; ++i) {
            model.sections[0].items.push_back({"More", false, nullptr});
        }
        return model;
    }

    bool open() { return test::showAndWait(window_) && (clickOn(button_), popover_.isVisible()); }
    std::vector<TracksPopoverRow*> rows() { return visibleChildren<TracksPopoverRow>(); }
    DiscreteSlider& slider() { return *visibleChildren<DiscreteSlider>().front(); }
    template <class Child>
    std::vector<Child*> visibleChildren() {
        const auto all = popover_.findChildren<Child*>();
        return {all.begin(), all.end()};
    }
    void press(Qt::Key key) {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
        QCoreApplication::sendEvent(window_.focusWidget(), &event);
    }

    QWidget window_;
    QWidget panel_{&window_};
    QPushButton button_{&panel_};
    TracksPopover popover_{&window_};
    std::string reports_;
};

TEST_F(TracksPopoverTest, aChoiceClosesItAndARateDoesNot) {
    ASSERT_TRUE(open());
    EXPECT_TRUE(button_.isDown());
    EXPECT_EQ(popover_.geometry().bottom() + 1, 470);
    slider().select(0);
    EXPECT_EQ(reports_, "0.50 ");
    EXPECT_TRUE(popover_.isVisible());
    clickOn(*rows()[1]);
    EXPECT_EQ(reports_, "0.50 closed bottom ");
    EXPECT_FALSE(popover_.isVisible());
    EXPECT_FALSE(button_.isDown());
    clickOn(button_);
    clickOn(*rows()[2]);
    EXPECT_EQ(reports_, "0.50 closed bottom closed add ");
}

TEST_F(TracksPopoverTest, isUsedByKeys) {
    ASSERT_TRUE(open());
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_EQ(reports_, "closed bottom ");
    clickOn(button_);
    press(Qt::Key_Up);
    EXPECT_EQ(window_.focusWidget(), &slider()) << "from the first item to the last";
    press(Qt::Key_Right);
    press(Qt::Key_Tab);
    EXPECT_EQ(window_.focusWidget(), rows()[0]);
    press(Qt::Key_Escape);
    EXPECT_EQ(reports_, "closed bottom 1.50 closed ");
    EXPECT_FALSE(popover_.isAncestorOf(window_.focusWidget()));
}

TEST_F(TracksPopoverTest, aClickBesideItOnlyClosesIt) {
    ASSERT_TRUE(open());
    clickOn(button_);
    EXPECT_FALSE(popover_.isVisible()) << "not opened again";
    clickOn(button_);
    EXPECT_TRUE(popover_.isVisible());
    EXPECT_EQ(reports_, "closed ");
}

TEST_F(TracksPopoverTest, followsTheModelAndTheWindowWhileOpen) {
    ASSERT_TRUE(open());
    QWidget* const focused = window_.focusWidget();
    popover_.setModel(modelOf(false));
    EXPECT_FALSE(rows()[1]->isChecked());
    EXPECT_EQ(window_.focusWidget(), focused) << "the same rows";
    popover_.setModel(modelOf(true, 40));
    EXPECT_TRUE(popover_.isAncestorOf(window_.focusWidget()));
    EXPECT_EQ(popover_.height(), 430) << "scrolls";
    press(Qt::Key_End);
    TracksPopoverRow* const last = rows()[42];
    EXPECT_EQ(window_.focusWidget(), &slider());
    EXPECT_TRUE(popover_.rect().contains(last->mapTo(&popover_, last->rect().center())));
    panel_.move(100, 380);
    window_.resize(800, 500);
    EXPECT_TRUE(test::runUntil([&] { return popover_.geometry().bottom() < 380 - 10; }));
}

TEST_F(TracksPopoverTest, assistiveTechnologyReadsRowsAndRate) {
    ASSERT_TRUE(open());
    auto* row = QAccessible::queryAccessibleInterface(rows()[1]);
    EXPECT_EQ(row->text(QAccessible::Name), "German & <b>more</b>");
    EXPECT_EQ(row->text(QAccessible::Description), "Subtitle Tracks");
    EXPECT_TRUE(row->state().checked);
    auto* rate = QAccessible::queryAccessibleInterface(&slider());
    EXPECT_EQ(rate->role(), QAccessible::Slider);
    EXPECT_EQ(rate->text(QAccessible::Description), "1.25 times normal rate");
    const struct {
        double wanted, got;
    } cases[] = {{1.3, 1.5}, {1.4, 1.25}, {9, 2}, {1.0, 1.0}, {0.99, 0.75}, {-3, 0.5}};
    for (const auto& given : cases) {
        rate->valueInterface()->setCurrentValue(given.wanted);
        EXPECT_EQ(rate->valueInterface()->currentValue().toDouble(), given.got) << given.wanted;
    }
    slider().setEnabled(false);
    rate->valueInterface()->setCurrentValue(2.0);
    EXPECT_EQ(rate->valueInterface()->currentValue().toDouble(), 0.5);
}

TEST(DiscreteSliderWidget, selectsTheNearestTickUnderThePointer) {
    DiscreteSlider slider({{1, "one"}, {2}, {4, "four"}}, nullptr);
    slider.resize(112, slider.sizeHint().height());
    std::string reports;
    QObject::connect(&slider, &DiscreteSlider::valueDidChange,
                     [&](double value) { reports += std::to_string(static_cast<int>(value)); });
    sendMouse(slider, QEvent::MouseButtonPress, {82, 30});
    sendMouse(slider, QEvent::MouseMove, {105, 30});
    sendMouse(slider, QEvent::MouseMove, {80, 30});
    sendMouse(slider, QEvent::MouseMove, {-20, 30});
    EXPECT_EQ(reports, "421");
}

} // namespace
} // namespace zelvane
