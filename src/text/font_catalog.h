// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include "text/font.h"

namespace zelvane {

/// The system's fonts, according to fontconfig, with a cache. Any thread. On a system without fonts
/// the catalogue finds nothing.
class FontCatalog {
  public:
    /// The process's catalogue, made on first use.
    static FontCatalog& shared();

    FontCatalog();
    ~FontCatalog();
    FontCatalog(const FontCatalog&) = delete;
    FontCatalog& operator=(const FontCatalog&) = delete;

    /// The font for the name of a family, the full name of a face or its PostScript name, ignoring
    /// case. A name that the system replaces by another family of the same metrics ("Helvetica",
    /// "Arial") gives that one. None for any other name.
    std::optional<Font> font(std::string_view name, double pointSize) const;
    /// "Helvetica" or its replacement, else the system font.
    Font helvetica(double pointSize) const;
    /// The system's sans-serif font.
    Font systemFont(double pointSize) const;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace zelvane
