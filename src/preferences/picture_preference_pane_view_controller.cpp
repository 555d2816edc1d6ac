// SPDX-License-Identifier: GPL-3.0-or-later
#include "preferences/picture_preference_pane_view_controller.h"

#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>

#include "foundation/user_defaults.h"
#include "player_window/desktop/display_profile.h"
#include "preferences/settings_grid.h"

namespace zelvane {
namespace {

constexpr int kProfileNameLength = 26;

/// What an entry of the list of profiles does.
enum class Entry { screen, file, choose };

} // namespace

// The pane owns its parts. NOLINTBEGIN(cppcoreguidelines-owning-memory)
PicturePreferencePaneViewController::PicturePreferencePaneViewController(UserDefaults& defaults,
                                                                         DisplayProfile& profile)
    : SettingsPane({"picture"}, QStringLiteral("picture"), defaults), profile_(profile),
      profiles_(new QComboBox) {
    setWindowTitle(tr("Picture"));
    SettingsGrid grid(*this);
    addProfileRows(grid);
    grid.addGap();
    grid.addRow(tr("HDR video:"), {new QLabel(tr("Mapped to the range of the screen"))});
    grid.addDescription(tr("Luminance follows the curve of ITU-R BT.2390. Colours outside of the "
                           "screen's gamut are clipped."));
}

void PicturePreferencePaneViewController::addProfileRows(SettingsGrid& grid) {
    profiles_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    profiles_->setMinimumContentsLength(kProfileNameLength);
    follow([this] { showProfiles(); });
    connect(profiles_, &QComboBox::activated, this, [this](int index) {
        const auto entry = static_cast<Entry>(profiles_->itemData(index).toInt());
        if (entry == Entry::screen) {
            defaults().set(kDisplayProfileKey, std::nullopt);
        } else if (entry == Entry::choose) {
            showProfiles();
            chooseFile();
        }
    });
    grid.addRow(tr("&Display profile:"), {profiles_});
    auto* description = grid.addDescription(profileDescription());
    connect(&profile_, &DisplayProfile::didChange, description,
            [this, description] { description->setText(profileDescription()); });
}
// NOLINTEND(cppcoreguidelines-owning-memory)

void PicturePreferencePaneViewController::showProfiles() {
    const auto path = QString::fromStdString(defaults().stringForKey(kDisplayProfileKey));
    profiles_->clear();
    profiles_->addItem(tr("As the screen says"), static_cast<int>(Entry::screen));
    if (!path.isEmpty()) {
        profiles_->addItem(QFileInfo(path).fileName(), static_cast<int>(Entry::file));
        profiles_->setItemData(1, path, Qt::ToolTipRole);
        profiles_->setCurrentIndex(1);
    }
    profiles_->insertSeparator(profiles_->count());
    profiles_->addItem(tr("Choose File…"), static_cast<int>(Entry::choose));
}

QString PicturePreferencePaneViewController::profileDescription() const {
    if (profile_.isFileUnusable()) {
        return tr("The file is not the profile of an RGB screen, or cannot be read. It is not "
                  "used.");
    }
    switch (profile_.source()) {
    case DisplayProfile::Source::file:
        return tr("Colours are converted for this profile.");
    case DisplayProfile::Source::screen:
        return tr("The desktop states a profile of the screen. Colours are converted for it.");
    case DisplayProfile::Source::assumed:
        return tr("The desktop states no profile of the screen. Colours are converted for sRGB.");
    }
    return {};
}

void PicturePreferencePaneViewController::chooseFile() {
    // Deleted when it is closed. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    auto* dialog = new QFileDialog(this, tr("Choose Display Profile"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setNameFilters({tr("Colour profiles (*.icc *.icm)"), tr("All files (*)")});
    const auto path = QString::fromStdString(defaults().stringForKey(kDisplayProfileKey));
    dialog->setDirectory(path.isEmpty() ? QStringLiteral("/usr/share/color/icc")
                                        : QFileInfo(path).path());
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString& file) {
        defaults().set(kDisplayProfileKey, file.toStdString());
    });
    dialog->open();
}

} // namespace zelvane
