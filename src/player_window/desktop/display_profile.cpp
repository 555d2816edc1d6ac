// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/desktop/display_profile.h"

#include <cstdlib>
#include <memory>
#include <string>
#include <tuple>
#include <utility>

#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPointer>
#include <qguiapplication_platform.h>
#include <xcb/xcb.h>

#include "foundation/release.h"
#include "foundation/user_defaults.h"
#include "platform/video_raster/icc_profile.h"

namespace zelvane {
namespace {

/// Profiles with large tables have some megabytes.
constexpr std::int64_t kLargestProfile = 16 << 20;

template <class Reply>
using XcbReply = std::unique_ptr<Reply, Release<std::free>>;

std::vector<std::uint8_t> usable(std::vector<std::uint8_t> profile) {
    return raster::IccProfile::read(profile) != nullptr ? std::move(profile)
                                                        : std::vector<std::uint8_t>();
}

/// The property that colour managers set on the root window.
std::vector<std::uint8_t> profileOfScreen() {
    auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    // Without a display the toolkit has the interface and no connection.
    xcb_connection_t* connection = x11 != nullptr ? x11->connection() : nullptr;
    if (connection == nullptr) {
        return {};
    }
    constexpr std::string_view kName = "_ICC_PROFILE";
    const XcbReply<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 1, kName.size(), kName.data()), nullptr));
    if (atom == nullptr || atom->atom == XCB_ATOM_NONE) {
        return {};
    }
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    const XcbReply<xcb_get_property_reply_t> property(
        xcb_get_property_reply(connection,
                               xcb_get_property(connection, 0, root, atom->atom, XCB_ATOM_CARDINAL,
                                                0, static_cast<std::uint32_t>(kLargestProfile / 4)),
                               nullptr));
    if (property == nullptr || property->format != 8) {
        return {};
    }
    const auto* bytes = static_cast<const std::uint8_t*>(xcb_get_property_value(property.get()));
    return usable({bytes, bytes + xcb_get_property_value_length(property.get())});
}

} // namespace

std::vector<std::uint8_t> displayProfileIn(const QString& path) {
    QFile file(path);
    // Reading a pipe would wait for its writer.
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QByteArray bytes = file.read(kLargestProfile);
    return usable({bytes.begin(), bytes.end()});
}

DisplayProfile::DisplayProfile(const UserDefaults& defaults, QObject* parent)
    : QObject(parent), defaults_(defaults), source_(read()) {
    settingsObserver_ = NotificationCenter::shared().addObserver(
        std::string(UserDefaults::kDidChangeNotification), &defaults_, nullptr,
        [self = QPointer(this)](const Notification&) {
            if (self) {
                QMetaObject::invokeMethod(self, &DisplayProfile::settingsDidChange);
            }
        });
}

DisplayProfile& DisplayProfile::shared() {
    static QPointer<DisplayProfile> profile;
    if (profile == nullptr) {
        // The application owns it. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
        profile = new DisplayProfile(UserDefaults::shared(), qApp);
    }
    return *profile;
}

DisplayProfile::Source DisplayProfile::read() {
    path_ = defaults_.stringForKey(kDisplayProfileKey);
    color_.iccProfile.clear();
    if (!path_.empty()) {
        color_.iccProfile = displayProfileIn(QString::fromStdString(path_));
    }
    isFileUnusable_ = !path_.empty() && color_.iccProfile.empty();
    if (!color_.iccProfile.empty()) {
        return Source::file;
    }
    color_.iccProfile = profileOfScreen();
    return color_.iccProfile.empty() ? Source::assumed : Source::screen;
}

void DisplayProfile::settingsDidChange() {
    if (defaults_.stringForKey(kDisplayProfileKey) == path_) {
        return;
    }
    const auto before = std::tuple(color_, source_, isFileUnusable_);
    source_ = read();
    if (before != std::tuple(color_, source_, isFileUnusable_)) {
        emit didChange();
    }
}

} // namespace zelvane
