// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct uchardet;

namespace zelvane {

/// Detects the encoding of text by the statistics of its bytes. Used by one thread at a time.
class CharacterEncodingDetector {
  public:
    CharacterEncodingDetector();

    /// Analyses the next bytes of the text. Returns false when that fails. Stops the process after
    /// finish().
    bool analyzeNextChunk(std::string_view bytes);
    /// The encoding's name for iconv; none when the text gives no indication.
    std::optional<std::string> finish();

  private:
    struct Delete {
        void operator()(uchardet* handle) const;
    };
    std::unique_ptr<uchardet, Delete> uchardet_;
    bool isFinished_ = false;
};

} // namespace zelvane
