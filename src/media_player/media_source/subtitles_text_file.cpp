// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/subtitles_text_file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core_media/ffmpeg.h"
#include "foundation/character_encoding.h"
#include "foundation/file_descriptor.h"
#include "foundation/text.h"
#include "media_player/media_source/text_encoding.h"
#include "media_player/media_source/unicode_form.h"
#include "media_player/media_source/webvtt_blocks.h"

namespace zelvane {
namespace {

/// More than any real script has, its embedded fonts included. A demuxer keeps several times that
/// in memory.
constexpr std::size_t kMaximumSize = std::size_t{256} * 1024 * 1024;
/// The size of the start by which the format is detected. Enough for scripts that begin with pages
/// of comments.
constexpr std::size_t kProbeSize = std::size_t{64} * 1024;

/// The demuxers that read a whole text when they open it.
constexpr std::array<std::string_view, 18> kTextDemuxers{
    "aqtitle", "ass",       "jacosub",    "lrc",         "microdvd", "mpl2",
    "mpsub",   "pjs",       "realtext",   "sami",        "scc",      "srt",
    "stl",     "subviewer", "subviewer1", "tedcaptions", "vplayer",  "webvtt",
};

/// None if it is not a regular file.
std::optional<std::size_t> sizeOf(const FileDescriptor& file) {
    struct stat status {};
    if (!file.isOpen() || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(status.st_size);
}

/// Appends up to `count` bytes, fewer at the end; false when reading fails.
bool readBytes(const FileDescriptor& file, std::size_t count, std::string& bytes) {
    const std::size_t begin = bytes.size();
    bytes.resize(begin + count);
    std::size_t done = 0;
    ssize_t status = 1;
    while (done < count && status != 0) {
        status = read(file.get(), bytes.data() + begin + done, count - done);
        if (status < 0 && errno != EINTR) {
            break;
        }
        done += static_cast<std::size_t>(std::max<ssize_t>(status, 0));
    }
    bytes.resize(begin + done);
    return status >= 0;
}

std::string_view demuxerFor(std::string text, const std::string& name) {
    const std::size_t size = text.size();
    text.append(AVPROBE_PADDING_SIZE, '\0');
    AVProbeData data{};
    data.filename = name.c_str();
    data.buf = reinterpret_cast<unsigned char*>(text.data());
    data.buf_size = static_cast<int>(size);
    int score = 0;
    const AVInputFormat* const format = av_probe_input_format3(&data, 1, &score);
    return format == nullptr ? "" : format->name;
}

/// Whether a file that begins with `start`, in its own encoding, is text for a demuxer of
/// subtitles.
bool isSubtitlesText(std::string_view start, const std::string& name) {
    const auto form = unicodeForm(start);
    const std::string text = form && form->encoding != "UTF-8"
                                 ? decodedText(start.substr(form->markSize), form->encoding).text
                                 : std::string(start);
    const std::string_view demuxer = demuxerFor(text, name);
    return std::find(kTextDemuxers.begin(), kTextDemuxers.end(), demuxer) != kTextDemuxers.end();
}

std::optional<std::string> encodingOf(std::string_view bytes) {
    TextEncodingEvidence evidence;
    evidence.add(bytes);
    return evidence.encoding();
}

std::string_view startOf(std::string_view bytes) {
    return bytes.substr(0, std::min(kProbeSize, bytes.size()));
}

bool isUTF8Already(std::string_view bytes, std::string_view encoding) {
    return encoding == "ASCII" || (encoding == "UTF-8" && isValidUTF8(bytes));
}

SubtitlesText textOf(std::string bytes) {
    const auto form = unicodeForm(startOf(bytes));
    std::optional<std::string> encoding;
    if (form) {
        encoding = form->encoding;
        bytes.erase(0, form->markSize);
    } else {
        encoding = encodingOf(bytes);
    }
    if (encoding && !isUTF8Already(bytes, *encoding)) {
        bytes = decodedText(bytes, *encoding).text;
    }
    std::erase(bytes, '\0');
    removeWebVTTBlocks(bytes);
    return {std::move(bytes), std::move(encoding)};
}

} // namespace

std::optional<SubtitlesText> subtitlesTextOf(std::string bytes, const std::string& name) {
    if (!isSubtitlesText(startOf(bytes), name)) {
        return std::nullopt;
    }
    return textOf(std::move(bytes));
}

std::optional<SubtitlesText> readSubtitlesText(const URL& url) {
    // Without O_NONBLOCK, opening a pipe or a device may wait.
    const FileDescriptor file(open(url.path().c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    const auto size = sizeOf(file);
    std::string bytes;
    if (!size || *size > kMaximumSize || !readBytes(file, std::min(*size, kProbeSize), bytes) ||
        !isSubtitlesText(bytes, url.path()) || !readBytes(file, *size - bytes.size(), bytes)) {
        return std::nullopt;
    }
    return textOf(std::move(bytes));
}

} // namespace zelvane
