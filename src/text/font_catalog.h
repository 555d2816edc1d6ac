// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include "text/font.h"

namespace zelvane {

/// The fonts of the system as fontconfig knows them. Answers are remembered; any thread. A system
/// without fonts has a catalogue in which nothing is found.
class FontCatalog {
  public:
    /// The process's catalogue, made when it is first asked for.
    static FontCatalog& shared();

    FontCatalog();
    ~FontCatalog();
    FontCatalog(const FontCatalog&) = delete;
    FontCatalog& operator=(const FontCatalog&) = delete;

    /// The font of a family's name, of a face's full name or of its PostScript name, whatever the
    /// case of the letters. A name that the system says is drawn by another family of the same
    /// measures ("Helvetica", "Arial") gives that one. Nothing for any other name.
    std::optional<Font> font(std::string_view name, double pointSize) const;
    /// "Helvetica" or what stands for it, else the system font.
    Font helvetica(double pointSize) const;
    /// What the system draws text without serifs in.
    Font systemFont(double pointSize) const;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace zelvane
