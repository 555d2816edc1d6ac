// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/character_encoding.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <iconv.h>

#include "foundation/error.h"
#include "foundation/text.h"

namespace zelvane {
namespace {

constexpr std::string_view kReplacement = "\xef\xbf\xbd";

class Converter {
  public:
    explicit Converter(const std::string& from) : handle_(iconv_open("UTF-8", from.c_str())) {}
    ~Converter() {
        if (isOpen()) {
            iconv_close(handle_);
        }
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    bool isOpen() const {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): iconv's error value
        return handle_ != reinterpret_cast<iconv_t>(-1);
    }

    /// Appends what a stateful encoding still holds at the end.
    void finish(std::string& text) const {
        std::array<char, 64> buffer; // NOLINT(*-member-init): overwritten
        char* out = buffer.data();
        std::size_t outLeft = buffer.size();
        iconv(handle_, nullptr, nullptr, &out, &outLeft);
        text.append(buffer.data(), buffer.size() - outLeft);
    }

    /// Converts the start of `bytes` that is valid and removes it from them. Returns 0 or an errno.
    int convert(std::string_view& bytes, std::string& text) const {
        std::array<char, 16384> buffer; // NOLINT(*-member-init): overwritten
        int status = E2BIG;
        while (status == E2BIG) {
            // iconv only reads through this pointer.
            char* in = const_cast<char*>(bytes.data());
            std::size_t inLeft = bytes.size();
            char* out = buffer.data();
            std::size_t outLeft = buffer.size();
            const bool failed = iconv(handle_, &in, &inLeft, &out, &outLeft) == std::size_t(-1);
            status = failed ? errno : 0;
            text.append(buffer.data(), buffer.size() - outLeft);
            bytes.remove_prefix(bytes.size() - inLeft);
        }
        return status;
    }

  private:
    iconv_t handle_;
};

/// The size of the smallest unit of an encoding: what to skip after a malformed one.
std::size_t unitSize(std::string_view encoding) {
    if (encoding.substr(0, 6) == "UTF-32") {
        return 4;
    }
    return encoding.substr(0, 6) == "UTF-16" ? 2 : 1;
}

struct EffectiveName {
    std::string_view name;
    std::string_view effectiveName;
};

// Text labelled with a name on the left is in practice written in the encoding on the right, which
// assigns characters to bytes that are unassigned or control characters in the standard.
constexpr std::array<EffectiveName, 10> kEffectiveNames{{
    {"ISO-8859-1", "WINDOWS-1252"},
    {"ISO-8859-9", "WINDOWS-1254"},
    {"ASCII", "WINDOWS-1252"},
    {"SHIFT_JIS", "CP932"},
    {"EUC-KR", "UHC"},
    {"GB2312", "GB18030"},
    {"GBK", "GB18030"},
    {"TIS-620", "CP874"},
    {"ISO-8859-11", "CP874"},
    {"MACROMAN", "MACINTOSH"},
}};

std::size_t replacementCount(std::string_view text) {
    std::size_t count = 0;
    for (std::size_t at = text.find(kReplacement); at != std::string_view::npos;
         at = text.find(kReplacement, at + kReplacement.size())) {
        ++count;
    }
    return count;
}

/// glibc's converters accept code points above U+10FFFF.
void repair(DecodedText& decoded) {
    const std::size_t before = replacementCount(decoded.text);
    decoded.text = repairedUTF8(decoded.text);
    decoded.malformedCount += replacementCount(decoded.text) - before;
}

} // namespace

std::string effectiveCharacterEncoding(std::string_view encoding) {
    const auto* const found =
        std::find_if(kEffectiveNames.begin(), kEffectiveNames.end(),
                     [&](const EffectiveName& entry) { return entry.name == encoding; });
    return std::string(found == kEffectiveNames.end() ? encoding : found->effectiveName);
}

bool isKnownCharacterEncoding(const std::string& encoding) {
    return Converter(effectiveCharacterEncoding(encoding)).isOpen();
}

DecodedText decodedText(std::string_view bytes, std::string_view encoding) {
    const std::string name = effectiveCharacterEncoding(encoding);
    const Converter converter(name);
    if (!converter.isOpen()) {
        throw SystemError(std::string(kPOSIXErrorDomain), EINVAL);
    }
    DecodedText decoded;
    decoded.text.reserve(bytes.size());
    while (converter.convert(bytes, decoded.text) != 0) {
        decoded.text += kReplacement;
        ++decoded.malformedCount;
        bytes.remove_prefix(std::min(unitSize(name), bytes.size()));
    }
    converter.finish(decoded.text);
    if (!isValidUTF8(decoded.text)) {
        repair(decoded);
    }
    return decoded;
}

} // namespace zelvane
