// SPDX-License-Identifier: GPL-3.0-or-later
#include "preferences/subtitles_preference_pane_view_controller.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <QCheckBox>
#include <QComboBox>
#include <QFontDatabase>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSpinBox>

#include "foundation/user_defaults.h"
#include "media_player/decoders/subtitles/subtitle_text_style_manager.h"
#include "preferences/caption_sample.h"
#include "preferences/color_button.h"
#include "preferences/language_list.h"
#include "preferences/settings_grid.h"

namespace zelvane {
namespace {

constexpr double kPercent = 100;
constexpr int kFontNameLength = 18;
constexpr int kVisibleFonts = 16;

QColor qtColor(const SRGBColor& color) {
    return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                            static_cast<float>(color.blue));
}

// The pane owns the controls. NOLINTBEGIN(cppcoreguidelines-owning-memory)
QSpinBox* makePercentField(int least, int most, const QString& name) {
    auto* field = new QSpinBox;
    field->setRange(least, most);
    constexpr int kStep = 5;
    field->setSingleStep(kStep);
    field->setSuffix(SubtitlesPreferencePaneViewController::tr(" %"));
    field->setAccessibleName(name);
    return field;
}

void showValue(QSpinBox& field, double value) {
    const QSignalBlocker blocker(field);
    const auto number = static_cast<int>(std::lround(value));
    // Setting the same value would discard what the user is typing.
    if (number != field.value()) {
        field.setValue(number);
    }
}

bool containsAll(const std::vector<std::string>& list, const std::vector<std::string_view>& names) {
    return std::ranges::all_of(
        names, [&](std::string_view name) { return std::ranges::find(list, name) != list.end(); });
}

} // namespace

SubtitlesPreferencePaneViewController::SubtitlesPreferencePaneViewController(
    UserDefaults& defaults, const Environment& environment)
    : SettingsPane({"subtitles"}, QStringLiteral("subtitles"), defaults),
      appearance_(defaults, NotificationCenter::shared()),
      settings_(defaults, environment.captionAppearanceDidChange) {
    setWindowTitle(tr("Subtitles"));
    SettingsGrid grid(*this);
    addSample(grid);
    grid.addGap();
    addFontRows(grid);
    addColorRows(grid);
    addRestoreButton(grid);
    auto* ownStyle = grid.addCheckBox({}, tr("Use this &style for all subtitles"));
    bind(*ownStyle, kUseUserSpecifiedSubtitleTextStyleKey, environment.useOfOwnTextStyleDidChange);
    grid.addDescription(tr("Otherwise subtitles look as their files say."), ownStyle);
    grid.addGap();
    addLanguageRows(grid);
}

void SubtitlesPreferencePaneViewController::addSample(SettingsGrid& grid) {
    auto* sample = new CaptionSample;
    follow([this, sample] { sample->setStyle(userSpecifiedTextStyle(appearance_)); });
    grid.addWide(sample);
}

QComboBox* SubtitlesPreferencePaneViewController::makeFontBox() {
    auto* fonts = new QComboBox;
    fonts->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    fonts->setMinimumContentsLength(kFontNameLength);
    fonts->setMaxVisibleItems(kVisibleFonts);
    fonts->addItem(tr("System Font"), QString());
    for (const QString& family : QFontDatabase::families()) {
        if (!QFontDatabase::isPrivateFamily(family)) {
            fonts->addItem(family, family);
        }
    }
    follow([this, fonts] {
        const auto family =
            QString::fromStdString(defaults().stringForKey(caption_keys::kFontFamily));
        const int index = fonts->findData(family, Qt::UserRole, Qt::MatchFixedString);
        if (index < 0) {
            fonts->addItem(tr("%1 (not installed)").arg(family), family);
        }
        fonts->setCurrentIndex(index < 0 ? fonts->count() - 1 : index);
    });
    connect(fonts, &QComboBox::activated, this, [this, fonts] {
        settings_.set(caption_keys::kFontFamily, fonts->currentData().toString().toStdString());
    });
    return fonts;
}

QSpinBox* SubtitlesPreferencePaneViewController::makeSizeField() {
    auto* size = makePercentField(25, 400, tr("Size of subtitles"));
    follow([this, size] { showValue(*size, appearance_.relativeCharacterSize() * kPercent); });
    connect(size, &QSpinBox::valueChanged, this, [this](int percent) {
        settings_.set(caption_keys::kRelativeCharacterSize, percent / kPercent);
    });
    return size;
}

QCheckBox* SubtitlesPreferencePaneViewController::makeTraitBox(const QString& title,
                                                               std::string_view key) {
    auto* box = new QCheckBox(title);
    bind(*box, key, [this, key] { settings_.set(key, defaults().boolForKey(key)); });
    return box;
}

void SubtitlesPreferencePaneViewController::addFontRows(SettingsGrid& grid) {
    grid.addRow(tr("&Font:"), {makeFontBox()});
    grid.addRow(tr("Si&ze:"), {makeSizeField(), makeTraitBox(tr("&Bold"), caption_keys::kFontBold),
                               makeTraitBox(tr("&Italic"), caption_keys::kFontItalic)});
}

void SubtitlesPreferencePaneViewController::addEdgeRow(SettingsGrid& grid) {
    using Edge = CaptionTextEdgeStyle;
    auto* edges = new QComboBox;
    for (const auto& [title, edge] : {std::pair(tr("None"), Edge::none),
                                      {tr("Raised"), Edge::raised},
                                      {tr("Depressed"), Edge::depressed},
                                      {tr("Outline"), Edge::uniform},
                                      {tr("Drop Shadow"), Edge::dropShadow}}) {
        edges->addItem(title, static_cast<qlonglong>(edge));
    }
    follow([this, edges] {
        // Other numbers look like none.
        const int index = edges->findData(static_cast<qlonglong>(appearance_.textEdgeStyle()));
        edges->setCurrentIndex(std::max(index, 0));
    });
    connect(edges, &QComboBox::activated, this, [this, edges] {
        settings_.set(caption_keys::kTextEdgeStyle,
                      static_cast<std::int64_t>(edges->currentData().toLongLong()));
    });
    grid.addRow(tr("&Edge:"), {edges});
}

std::vector<QWidget*> SubtitlesPreferencePaneViewController::makeColorFields(
    const QString& name, const CaptionColorKeys& keys, Color color, Number opacity) {
    auto* button = new ColorButton(name);
    follow([this, button, color, &keys] {
        button->setColor(qtColor((appearance_.*color)().value_or(keys.fallback)));
    });
    connect(button, &ColorButton::colorDidChange, this, [this, &keys](const QColor& chosen) {
        settings_.setColor(keys, {chosen.redF(), chosen.greenF(), chosen.blueF(), 1});
    });
    auto* field = makePercentField(0, 100, tr("Opacity of %1").arg(name));
    field->setToolTip(tr("Opacity"));
    follow([this, field, opacity] { showValue(*field, (appearance_.*opacity)() * kPercent); });
    connect(field, &QSpinBox::valueChanged, this,
            [this, &keys](int percent) { settings_.setOpacity(keys, percent / kPercent); });
    return {button, field, new QLabel(tr("opacity"))};
}

void SubtitlesPreferencePaneViewController::addColorRows(SettingsGrid& grid) {
    using Appearance = CaptionAppearance;
    const auto text = makeColorFields(tr("Text colour"), kCaptionTextColor,
                                      &Appearance::foregroundColor, &Appearance::foregroundOpacity);
    grid.addRow(tr("&Text:"), {text[0], text[1], text[2]});
    addEdgeRow(grid);
    const auto line = makeColorFields(tr("Background colour"), kCaptionBackgroundColor,
                                      &Appearance::backgroundColor, &Appearance::backgroundOpacity);
    grid.addRow(tr("Back&ground:"), {line[0], line[1], line[2]});
    const auto box = makeColorFields(tr("Box colour"), kCaptionWindowColor,
                                     &Appearance::windowColor, &Appearance::windowOpacity);
    grid.addRow(tr("Bo&x:"),
                {box[0], box[1], box[2], makeCornerField(), new QLabel(tr("corner radius"))});
}

QSpinBox* SubtitlesPreferencePaneViewController::makeCornerField() {
    auto* corner = new QSpinBox;
    corner->setRange(0, 100);
    corner->setAccessibleName(tr("Corner radius of the box"));
    follow([this, corner] { showValue(*corner, appearance_.windowRoundedCornerRadius()); });
    connect(corner, &QSpinBox::valueChanged, this, [this](int radius) {
        settings_.set(caption_keys::kWindowRoundedCornerRadius, static_cast<double>(radius));
    });
    return corner;
}

void SubtitlesPreferencePaneViewController::addRestoreButton(SettingsGrid& grid) {
    auto* restore = new QPushButton(tr("&Restore Defaults"));
    restore->setAutoDefault(false);
    connect(restore, &QPushButton::clicked, this, [this] { settings_.restoreDefaultAppearance(); });
    grid.addRow({}, {restore});
}

void SubtitlesPreferencePaneViewController::addLanguageRows(SettingsGrid& grid) {
    auto* languages = new LanguageList;
    follow([this, languages] { languages->setLanguages(appearance_.selectedLanguages()); });
    connect(languages, &LanguageList::languagesDidChange, this,
            [this, languages] { settings_.setLanguages(languages->languages()); });
    grid.addRow(tr("Preferred &languages:"), {languages}, Qt::AlignTop);
    addCharacteristic(
        grid, tr("Prefer:"), tr("Subtitles for the deaf and &hard of hearing"),
        caption_keys::kCaptionCharacteristics,
        {CaptionAppearance::kTranscribesSpokenDialog, CaptionAppearance::kDescribesMusicAndSound});
    addCharacteristic(grid, {}, tr("Sound with audio des&cription"),
                      caption_keys::kAudibleCharacteristics, {CaptionAppearance::kDescribesVideo});
}
// NOLINTEND(cppcoreguidelines-owning-memory)

void SubtitlesPreferencePaneViewController::addCharacteristic(
    SettingsGrid& grid, const QString& label, const QString& title, std::string_view key,
    const std::vector<std::string_view>& names) {
    auto* box = grid.addCheckBox(label, title);
    follow([this, box, key, names] {
        box->setChecked(containsAll(defaults().stringsForKey(key), names));
    });
    connect(box, &QCheckBox::clicked, this,
            [this, key, names](bool isOn) { settings_.setCharacteristics(key, names, isOn); });
}

} // namespace zelvane
