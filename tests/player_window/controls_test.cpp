// SPDX-License-Identifier: GPL-3.0-or-later
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include "player_window/controls/control_button.h"
#include "player_window/controls/control_colors.h"
#include "player_window/controls/controls_view.h"
#include "player_window/controls/floating_controls_visibility_controller.h"
#include "player_window/controls/scrubber.h"
#include "player_window/controls/volume_slider.h"
#include "player_window/views/floating_controls.h"
#include "player_window/window/media_player_window.h"
#include "player_window/window/player_action.h"
#include "player_window/window/window_edges.h"
#include "tests/player_window/window_test_support.h"

namespace zelvane {
namespace {

void mouse(QWidget& widget, QEvent::Type type, double x, double y,
           Qt::MouseButtons buttons = Qt::LeftButton) {
    const QPointF place(x, y);
    const auto button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent event(type, place, widget.mapToGlobal(place), button, buttons, Qt::NoModifier);
    QCoreApplication::sendEvent(&widget, &event);
}

TEST(ScrubberWidget, reportsWhatAPersonDoesAndNothingElse) {
    QWidget window;
    Scrubber scrubber(&window);
    scrubber.resize(203, 19);
    scrubber.setRange(0, 100);
    std::string reports;
    const auto report = [&](const QString& text) { reports += text.toStdString() + ' '; };
    QObject::connect(&scrubber, &Scrubber::didBeginTracking, [&] { report("begin"); });
    QObject::connect(&scrubber, &Scrubber::valueDidChange,
                     [&](double value) { report(QString::number(value)); });
    QObject::connect(&scrubber, &Scrubber::didEndTracking, [&] { report("end"); });
    QObject::connect(&scrubber, &Scrubber::hoverDidChange, [&](auto value, double) {
        report(value ? 'h' + QString::number(*value) : "none");
    });
    scrubber.setValue(50);
    mouse(scrubber, QEvent::MouseButtonPress, 1.5 + 20, 9);
    mouse(scrubber, QEvent::MouseMove, 1.5 + 40, 9);
    mouse(scrubber, QEvent::MouseButtonRelease, 1.5 + 40, 9);
    QEvent leave(QEvent::Leave);
    QCoreApplication::sendEvent(&scrubber, &leave);
    EXPECT_EQ(reports, "begin 10 20 h20 end none ");
    reports.clear();
    QWheelEvent wheel({5, 5}, {5, 5}, {}, {-120, 0}, Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&scrubber, &wheel);
    QKeyEvent right(QEvent::KeyPress, Qt::Key_Right, Qt::NoModifier);
    QCoreApplication::sendEvent(&scrubber, &right);
    EXPECT_EQ(reports, "35 36 ");
}

TEST(ControlsView, showsTheStateOfThePlayer) {
    ControlsView view(6843, {}, nullptr);
    view.resize(611, 92);
    view.setPlaying(true);
    EXPECT_EQ(view.playPauseButton().accessibleName(), "Pause");
    EXPECT_EQ(view.playPauseButton().toolTip(), "Pause (Space)");
    EXPECT_EQ(view.tracksButton().toolTip(), "Tracks") << "it has no key";
    view.setVolume(0.3, false);
    EXPECT_EQ(view.volumeButton().symbol(), ControlSymbol::volumeLow);
    EXPECT_NEAR(view.volumeSlider().volume(), 0.3, 1e-6);
    view.setVolume(0.3, true);
    EXPECT_EQ(view.volumeButton().symbol(), ControlSymbol::volumeMuted);
    EXPECT_EQ(view.volumeButton().accessibleName(), "Unmute");
    view.setFullScreen(true);
    EXPECT_EQ(view.fullScreenButton().symbol(), ControlSymbol::leaveFullScreen);
    for (auto* child : view.findChildren<QWidget*>()) {
        EXPECT_FALSE(child->accessibleName().isEmpty()) << child->metaObject()->className();
    }
}

TEST(ControlColors, theAccentStandsOutAgainstThePanel) {
    for (const QColor& accent : {QColor("#30006f"), QColor("#308cc6"), QColor("#ffd000")}) {
        QPalette palette;
        palette.setColor(QPalette::Highlight, accent);
        EXPECT_GE(contrastRatio(accentColor(palette), control_colors::kPanel), 4.5);
    }
    EXPECT_NEAR(contrastRatio(Qt::black, Qt::white), 21, 1e-9);
}

TEST(FloatingControls, hiddenControlsLeaveThePointerToThePicture) {
    QWidget window;
    window.resize(400, 200);
    auto* panel = std::make_unique<FloatingControls>(nullptr, &window).release();
    panel->setGeometry(0, 100, 400, 92);
    panel->setContent(std::make_unique<ControlsView>(60, ControlsContent{}, nullptr).release());
    ASSERT_TRUE(test::showAndWait(window));
    const auto isHit = [&] { return window.childAt(200, 150) != nullptr; };
    EXPECT_TRUE(isHit());
    panel->setShown(false, 1);
    EXPECT_TRUE(test::runUntil([&] { return panel->opacity() == 0 && !isHit(); }));
    panel->setShown(true, 1);
    EXPECT_TRUE(test::runUntil([&] { return panel->opacity() == 1 && isHit(); }));
}

TEST(FloatingControls, takeAClickWhileTheyAppear) {
    QWidget window;
    window.resize(400, 92);
    window.setPalette(QPalette(Qt::black));
    auto* panel = std::make_unique<FloatingControls>(nullptr, &window).release();
    panel->setGeometry(window.rect());
    auto* controls = std::make_unique<ControlsView>(60, ControlsContent{}, nullptr).release();
    panel->setContent(controls);
    ASSERT_TRUE(test::showAndWait(window));
    const QWidget& button = controls->playPauseButton();
    const QPoint middle = button.mapTo(&window, button.rect().center());
    const auto brightness = [&] {
        return window.screen()->grabWindow(window.winId()).toImage().pixelColor(middle).lightness();
    };
    ASSERT_TRUE(test::runUntil([&] { return brightness() > 150; })) << "the symbol is white";
    panel->setShown(false, 0);
    ASSERT_TRUE(test::runUntil([&] { return brightness() < 100; }));
    panel->setShown(true, 100'000);
    EXPECT_EQ(window.childAt(middle), &button);
    QCoreApplication::processEvents();
    EXPECT_LT(brightness(), 150) << "it is painted by the fade";
}

TEST(FloatingControls, doNotFadeForAUserWhoWantsLessMotion) {
    const test::DesktopWith desktop({.reducesMotion = true});
    FloatingControls panel(nullptr, nullptr);
    panel.setContent(std::make_unique<ControlsView>(60, ControlsContent{}, nullptr).release());
    panel.setShown(false);
    EXPECT_EQ(panel.opacity(), 0);
}

TEST(FloatingControls, areOpaqueWithAStrongBorderForMoreContrast) {
    const auto white = [](QPainter& painter) {
        painter.fillRect(0, 0, 400, 92, Qt::white);
        return true;
    };
    FloatingControls panel(white, nullptr);
    panel.resize(400, 92);
    const auto pixel = [&](int y) {
        QImage image(400, 92, QImage::Format_RGB32);
        image.fill(Qt::white);
        panel.render(&image, {}, {}, QWidget::DrawWindowBackground);
        return image.pixelColor(200, y);
    };
    EXPECT_GT(pixel(46).lightness(), control_colors::kPanel.lightness() + 20);
    const test::DesktopWith desktop({.increasesContrast = true});
    EXPECT_EQ(pixel(46), control_colors::kPanel);
    EXPECT_GE(contrastRatio(pixel(0), control_colors::kPanel), 7);
}

TEST(FloatingControls, appearWhenTheKeyboardMovesIntoThem) {
    const test::DesktopWith desktop({.reducesMotion = true});
    QWidget window;
    window.resize(400, 200);
    auto* view = std::make_unique<QWidget>(&window).release();
    view->setGeometry(window.rect());
    auto* panel = std::make_unique<FloatingControls>(nullptr, view).release();
    panel->setGeometry(0, 100, 400, 92);
    auto* controls = std::make_unique<ControlsView>(60, ControlsContent{}, nullptr).release();
    panel->setContent(controls);
    bool isVisible = true;
    FloatingControlsVisibilityController controller(*view, *panel,
                                                    [&](bool shows) { isVisible = shows; });
    ASSERT_TRUE(test::showAndWait(window));
    window.activateWindow();
    ASSERT_TRUE(test::runUntil([&] { return window.isActiveWindow(); }));
    controller.start();
    mouse(*view, QEvent::MouseMove, 50, 50, Qt::NoButton);
    QEvent leave(QEvent::Leave);
    QCoreApplication::sendEvent(&window, &leave);
    ASSERT_FALSE(isVisible);
    controls->playPauseButton().setFocus(Qt::OtherFocusReason);
    EXPECT_FALSE(isVisible);
    controls->jumpBackButton().setFocus(Qt::TabFocusReason);
    EXPECT_TRUE(isVisible);
    EXPECT_EQ(panel->opacity(), 1);
}

TEST(FloatingControls, blurThePictureUnderThem) {
    const auto picture = [](QPainter& painter) {
        for (int x = 0; x < 400; x += 8) {
            painter.fillRect(x, 0, 4, 200, Qt::white);
        }
        return true;
    };
    const QImage image = Backdrop::make(picture, {0, 0, 400, 80}, QColor(0, 0, 0, 128));
    ASSERT_EQ(image.size(), QSize(52, 12));
    EXPECT_NEAR(qGray(image.pixel(26, 6)), 64, 4);
    EXPECT_TRUE(Backdrop::make(nullptr, {0, 0, 400, 80}, Qt::black).isNull());
}

TEST(MediaPlayerWindow, fitsTheScreenAndKeepsItsCentre) {
    MediaPlayerWindow window(TitleBar::Ground::overPicture, true);
    window.setContentView(std::make_unique<QWidget>().release());
    window.setContentSizes({419, 236}, {3840, 2160});
    window.showCentred();
    const QRect area = window.screen()->availableGeometry();
    EXPECT_TRUE(area.contains(window.geometry()));
    EXPECT_LE(std::abs(window.geometry().center().y() - area.center().y()), 1);
    EXPECT_NEAR(window.width() * 9.0 / 16, window.height(), 1);
    int closed = 0;
    QObject::connect(&window, &MediaPlayerWindow::didClose, [&] { ++closed; });
    window.close();
    window.close();
    EXPECT_EQ(closed, 1);
}

TEST(WindowEdges, areNarrowAndCornersAreLonger) {
    const struct {
        double x, y;
        Qt::Edges edges;
    } cases[] = {{200, 100, {}},
                 {6, 100, Qt::LeftEdge},
                 {7, 100, {}},
                 {393, 100, Qt::RightEdge},
                 {200, 199, Qt::BottomEdge},
                 {15, 1, Qt::LeftEdge | Qt::TopEdge},
                 {399, 185, Qt::RightEdge | Qt::BottomEdge}};
    for (const auto& given : cases) {
        EXPECT_EQ(windowEdgesAt(given.x, given.y, {400, 200}), given.edges) << given.x;
    }
}

TEST(ButtonLayout, followsTheDesktopButCanAlwaysClose) {
    using B = WindowButton;
    const struct {
        const char* setting;
        ButtonLayout layout;
    } cases[] = {{"appmenu:minimize,maximize,close", {}},
                 {"close,minimize:", {{B::close, B::minimize}, {}}},
                 {"menu:close", {{}, {B::close}}},
                 {"icon:menu,close,close", {{}, {B::close}}},
                 {"minimize:maximize", {}},
                 {"", {}}};
    for (const auto& given : cases) {
        EXPECT_EQ(parseButtonLayout(given.setting), given.layout) << given.setting;
    }
}

TEST(PlayerAction, keysHaveTheirActions) {
    const struct {
        int key;
        Qt::KeyboardModifiers modifiers;
        std::optional<PlayerAction> action;
    } cases[] = {
        {Qt::Key_Left, Qt::NoModifier, PlayerAction::jumpBackward},
        {Qt::Key_Left, Qt::ShiftModifier, PlayerAction::seekSecondBackward},
        {Qt::Key_Left, Qt::KeypadModifier, PlayerAction::jumpBackward},
        {Qt::Key_F, Qt::ControlModifier, PlayerAction::toggleFullScreen},
        {Qt::Key_F, Qt::ControlModifier | Qt::ShiftModifier, std::nullopt},
        {Qt::Key_NumberSign, Qt::ShiftModifier, PlayerAction::cycleAudio},
        {Qt::Key_A, Qt::NoModifier, std::nullopt},
    };
    for (const auto& given : cases) {
        EXPECT_EQ(playerActionFor(given.key, given.modifiers), given.action) << given.key;
    }
}

} // namespace
} // namespace zelvane
