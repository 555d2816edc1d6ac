// SPDX-License-Identifier: GPL-3.0-or-later
#include "preferences/language_list.h"

#include <algorithm>
#include <map>
#include <set>

#include <QHBoxLayout>
#include <QInputDialog>
#include <QListWidget>
#include <QLocale>
#include <QPushButton>
#include <QVBoxLayout>

#include "foundation/language_name.h"
#include "foundation/locale.h"
#include "preferences/caption_settings.h"

namespace zelvane {
namespace {

constexpr int kVisibleRows = 4;
constexpr int kListWidth = 210;
constexpr int kGap = 8;
constexpr int kButtonGap = 4;

/// The languages that the toolkit knows, by their titles.
std::map<QString, std::string> knownLanguages() {
    std::map<QString, std::string> known;
    const auto locales =
        QLocale::matchingLocales(QLocale::AnyLanguage, QLocale::AnyScript, QLocale::AnyCountry);
    std::set<QLocale::Language> seen;
    for (const QLocale& locale : locales) {
        if (locale.language() != QLocale::C && seen.insert(locale.language()).second) {
            const auto tag = canonicalLanguageIdentifier(
                QLocale::languageToCode(locale.language()).toStdString());
            known.emplace(titleOfLanguage(tag), tag);
        }
    }
    return known;
}

QListWidgetItem* makeItem(const std::string& tag) {
    // The list takes it. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    auto* item = new QListWidgetItem(titleOfLanguage(tag));
    item->setData(Qt::UserRole, QString::fromStdString(tag));
    item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled);
    return item;
}

} // namespace

QString titleOfLanguage(const std::string& tag) {
    const auto name = languageName(tag, QLocale().bcp47Name().toStdString());
    const QString code = QString::fromStdString(tag);
    return name ? LanguageList::tr("%1 (%2)").arg(QString::fromStdString(*name), code) : code;
}

// The widget owns its parts. NOLINTBEGIN(cppcoreguidelines-owning-memory)
LanguageList::LanguageList() : list_(new QListWidget), buttons_(new QWidget) {
    list_->setDragDropMode(QAbstractItemView::InternalMove);
    list_->setTextElideMode(Qt::ElideRight);
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list_->setTabKeyNavigation(false);
    setFocusProxy(list_);
    list_->setAccessibleName(tr("Preferred languages, best first"));
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(kGap);
    row->addWidget(list_);
    row->addWidget(buttons_, 0, Qt::AlignTop);
    addButtons();
    const int rowHeight = list_->fontMetrics().height() + 4;
    list_->setFixedSize(kListWidth, std::max(kVisibleRows * rowHeight + 2 * list_->frameWidth(),
                                             buttons_->sizeHint().height()));
    connect(list_, &QListWidget::currentRowChanged, this, &LanguageList::updateButtons);
    connect(list_->model(), &QAbstractItemModel::rowsMoved, this, [this] {
        updateButtons();
        emit languagesDidChange();
    });
}

void LanguageList::addButtons() {
    auto* column = new QVBoxLayout(buttons_);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(kButtonGap);
    addButton(tr("&Add…"), &LanguageList::add);
    remove_ = addButton(tr("Re&move"), &LanguageList::remove);
    moveUp_ = addButton(tr("Move U&p"), &LanguageList::moveUp);
    moveDown_ = addButton(tr("Move &Down"), &LanguageList::moveDown);
}

QPushButton* LanguageList::addButton(const QString& title, void (LanguageList::*action)()) {
    auto* button = new QPushButton(title);
    button->setAutoDefault(false);
    connect(button, &QPushButton::clicked, this, action);
    buttons_->layout()->addWidget(button);
    return button;
}
// NOLINTEND(cppcoreguidelines-owning-memory)

void LanguageList::setLanguages(const std::vector<std::string>& languages) {
    if (languages == this->languages()) {
        return;
    }
    const int row = list_->currentRow();
    list_->clear();
    for (const std::string& tag : languages) {
        list_->addItem(makeItem(tag));
    }
    list_->setCurrentRow(std::min(row, list_->count() - 1));
    updateButtons();
}

std::vector<std::string> LanguageList::languages() const {
    std::vector<std::string> tags;
    tags.reserve(static_cast<std::size_t>(list_->count()));
    for (int row = 0; row < list_->count(); ++row) {
        tags.push_back(list_->item(row)->data(Qt::UserRole).toString().toStdString());
    }
    return tags;
}

void LanguageList::updateButtons() {
    const int row = list_->currentRow();
    remove_->setEnabled(row >= 0);
    moveUp_->setEnabled(row > 0);
    moveDown_->setEnabled(row >= 0 && row + 1 < list_->count());
}

void LanguageList::add() {
    const auto known = knownLanguages();
    QStringList titles;
    for (const auto& [title, tag] : known) {
        titles << title;
    }
    std::ranges::sort(titles, [](const QString& a, const QString& b) {
        return QString::localeAwareCompare(a, b) < 0;
    });
    // Deleted when it is closed. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    auto* dialog = new QInputDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setOption(QInputDialog::UseListViewForComboBoxItems);
    dialog->setWindowTitle(tr("Add Language"));
    dialog->setLabelText(tr("Language:"));
    dialog->setComboBoxItems(titles);
    connect(dialog, &QInputDialog::textValueSelected, this, [this, known](const QString& title) {
        const auto found = known.find(title);
        if (found != known.end()) {
            setLanguages(withLanguage(languages(), found->second));
            list_->setCurrentRow(list_->count() - 1);
            emit languagesDidChange();
        }
    });
    dialog->open();
}

void LanguageList::remove() {
    // The list gives it away. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    delete list_->takeItem(list_->currentRow());
    updateButtons();
    emit languagesDidChange();
}

void LanguageList::moveBy(int rows) {
    const int row = list_->currentRow();
    list_->insertItem(row + rows, list_->takeItem(row));
    list_->setCurrentRow(row + rows);
    emit languagesDidChange();
}

} // namespace zelvane
