// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <QObject>
#include <QString>

#include "foundation/notification_center.h"
#include "platform/video_raster/raster_converter.h"

namespace zelvane {

class UserDefaults;

/// The path of an ICC profile that replaces that of the screen; absent for the screen's own.
inline constexpr std::string_view kDisplayProfileKey = "ZLVNDisplayProfile";

/// The colour profile for which pictures are converted: a file of the user's choice, else the
/// profile that the X server states for the first screen, else none, which means sRGB. Main thread.
class DisplayProfile final : public QObject {
    Q_OBJECT

  public:
    enum class Source { file, screen, assumed };

    /// `defaults` must outlive this.
    explicit DisplayProfile(const UserDefaults& defaults, QObject* parent = nullptr);
    /// The profile by the settings of the process. The application object owns it.
    static DisplayProfile& shared();

    const DisplayColor& displayColor() const { return color_; }
    Source source() const { return source_; }
    /// Whether the file in the settings cannot be read or is no profile of an RGB screen.
    bool isFileUnusable() const { return isFileUnusable_; }

  signals:
    void didChange();

  private:
    void settingsDidChange();
    Source read();

    const UserDefaults& defaults_;
    std::string path_;
    DisplayColor color_;
    Source source_ = Source::assumed;
    bool isFileUnusable_ = false;
    NotificationObserver settingsObserver_;
};

/// The bytes of a file that is a profile of an RGB screen; empty for any other file.
std::vector<std::uint8_t> displayProfileIn(const QString& path);

} // namespace zelvane
