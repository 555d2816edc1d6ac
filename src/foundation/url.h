// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace zelvane {

/// Where media lies (RFC 3986, as far as a player needs it). A value; any thread.
class URL {
  public:
    /// The file URL of a path, made absolute against the working folder. Any bytes are kept.
    static URL fromPath(const std::filesystem::path& path);
    /// Reads text such as "http://host/film", "file:///film" or, without a scheme, "film". Never
    /// fails: what has no scheme is a relative URL.
    static URL parse(std::string_view text);

    /// As written; empty when there is none.
    const std::string& scheme() const { return scheme_; }
    /// Whether the scheme is "file", in any case.
    bool isFileURL() const;
    /// Without host, query and fragment, and with percent escapes decoded.
    const std::string& path() const { return path_; }
    /// The whole, with percent escapes.
    const std::string& absoluteString() const { return absoluteString_; }
    /// The path behind its last slash, slashes at the end aside; "/" for the root.
    std::string lastPathComponent() const;

    friend bool operator==(const URL&, const URL&) = default;

  private:
    URL(std::string scheme, std::string path, std::string absoluteString)
        : scheme_(std::move(scheme)), path_(std::move(path)),
          absoluteString_(std::move(absoluteString)) {}

    std::string scheme_;
    std::string path_;
    std::string absoluteString_;
};

} // namespace zelvane
