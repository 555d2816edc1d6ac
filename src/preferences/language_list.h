// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include <QString>
#include <QWidget>

class QListWidget;
class QPushButton;

namespace zelvane {

/// A list of languages in order of preference, which the user reorders by dragging or by buttons.
/// Main thread.
class LanguageList final : public QWidget {
    Q_OBJECT

  public:
    LanguageList();

    /// BCP 47 tags. Does not emit languagesDidChange.
    void setLanguages(const std::vector<std::string>& languages);
    std::vector<std::string> languages() const;

  signals:
    /// The user has changed the list.
    void languagesDidChange();

  private:
    void addButtons();
    QPushButton* addButton(const QString& title, void (LanguageList::*action)());
    void updateButtons();
    void add();
    void remove();
    void moveUp() { moveBy(-1); }
    void moveDown() { moveBy(1); }
    void moveBy(int rows);

    QListWidget* list_;
    QWidget* buttons_;
    QPushButton* remove_ = nullptr;
    QPushButton* moveUp_ = nullptr;
    QPushButton* moveDown_ = nullptr;
};

/// "German (de)", or the tag alone where the language has no name.
QString titleOfLanguage(const std::string& tag);

} // namespace zelvane
