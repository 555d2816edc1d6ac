// SPDX-License-Identifier: GPL-3.0-or-later
//
// The menus of the player in the menu bar of a desktop, which reads them from the bus.
#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>

#include <gmock/gmock.h>

#include "tests/application/player_process.h"
#include "tests/player_window/private_bus.h"

namespace zelvane {
namespace {

/// The service of a desktop to which windows announce their menus.
class Registrar final : public QDBusVirtualObject {
  public:
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override {
        if (message.member() == "RegisterWindow") {
            owner_ = message.service();
            path_ = message.arguments().at(1).value<QDBusObjectPath>().path();
        }
        return bus.send(message.createReply());
    }
    QString introspect(const QString& /*path*/) const override { return {}; }

    QString owner_;
    QString path_;
};

struct MenuItem {
    int id = 0;
    QString label;
    bool isEnabled = true;
    std::vector<MenuItem> children;
};

MenuItem menuItemOf(const QDBusArgument& argument) {
    MenuItem item;
    QVariantMap properties;
    QVariantList children;
    argument.beginStructure();
    argument >> item.id >> properties >> children;
    argument.endStructure();
    item.label = properties.value("label").toString();
    item.isEnabled = properties.value("enabled", true).toBool();
    for (const QVariant& child : children) {
        item.children.push_back(menuItemOf(child.value<QDBusArgument>()));
    }
    return item;
}

class GlobalMenuTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(
            connection_.registerVirtualObject("/com/canonical/AppMenu/Registrar", &registrar_));
        ASSERT_TRUE(connection_.registerService("com.canonical.AppMenu.Registrar"));
    }

    QVariantList call(const QString& method, const QVariantList& arguments) const {
        return test::callOnBus(connection_, registrar_.owner_, registrar_.path_,
                               "com.canonical.dbusmenu", method, arguments);
    }
    /// As a desktop shows it; `id` is that of a menu, or 0 for the bar.
    MenuItem opened(int id) const {
        call("AboutToShow", {id});
        return menuItemOf(call("GetLayout", {id, -1, QStringList()}).at(1).value<QDBusArgument>());
    }
    static const MenuItem* find(const MenuItem& menu, const QString& label) {
        for (const MenuItem& item : menu.children) {
            if (item.label == label) {
                return &item;
            }
        }
        return nullptr;
    }

    const test::PrivateBus bus_;
    QDBusConnection connection_ = bus_.connection("desktop");
    Registrar registrar_;
};

TEST_F(GlobalMenuTest, showsAndControlsThePlayer) {
    const auto film =
        test::madeClip("menu.mkv", test::lavfi("color=red:s=64x48:d=60") + "-c:v mpeg4");
    test::PlayerProcess player(bus_.address(), {QString::fromStdString(film.string())});
    ASSERT_TRUE(test::runUntil([&] { return !registrar_.path_.isEmpty(); }));
    const MenuItem bar = opened(0);
    const auto titleOf = [&](std::size_t i) { return bar.children.at(i).label.toStdString(); };
    EXPECT_EQ(titleOf(0) + titleOf(2) + titleOf(5), "FileControlsHelp");
    const auto controls = [&] { return opened(bar.children.at(2).id); };
    ASSERT_TRUE(test::runUntil([&] { return find(controls(), "Pause") != nullptr; }));
    ASSERT_NE(find(controls(), "Speed"), nullptr) << "in place of the slider";
    EXPECT_EQ(find(controls(), "Speed")->children.at(0).label, "0.5×");
    call("Event",
         {find(controls(), "Pause")->id, "clicked", QVariant::fromValue(QDBusVariant(0)), 0U});
    EXPECT_TRUE(test::runUntil([&] { return find(controls(), "Play") != nullptr; }));
    const MenuItem windows = opened(bar.children.at(4).id);
    EXPECT_NE(find(windows, "menu.mkv"), nullptr);
}

TEST_F(GlobalMenuTest, isEmptyWithoutAPlayer) {
    const test::PlayerProcess player(bus_.address(), {});
    ASSERT_TRUE(test::runUntil([&] { return !registrar_.path_.isEmpty(); }));
    const MenuItem tracks = opened(opened(0).children.at(3).id);
    ASSERT_EQ(tracks.children.size(), 1U);
    EXPECT_EQ(tracks.children[0].label, "No Media Selected");
    EXPECT_FALSE(tracks.children[0].isEnabled);
}

} // namespace
} // namespace zelvane
