// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace zelvane {

/// The location of media: the subset of RFC 3986 that a player needs. A value.
class URL {
  public:
    /// The file URL of a path, made absolute in the working folder. All bytes are kept.
    static URL fromPath(const std::filesystem::path& path);
    /// Parses text such as "http://host/film" or "file:///film". Text without a scheme is a
    /// relative URL. Never fails.
    static URL parse(std::string_view text);

    /// As written; empty if there is none.
    const std::string& scheme() const { return scheme_; }
    /// Whether the scheme is "file", ignoring case.
    bool isFileURL() const;
    /// The path without host, query and fragment, with percent escapes decoded.
    const std::string& path() const { return path_; }
    /// The whole URL with percent escapes.
    const std::string& absoluteString() const { return absoluteString_; }
    /// The last component of the path, ignoring slashes at its end; "/" for the root.
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
