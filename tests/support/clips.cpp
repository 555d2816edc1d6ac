// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/clips.h"

#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ; // NOLINT(readability-redundant-declaration)

namespace zelvane::test {
namespace {

namespace fs = std::filesystem;

/// A lock between processes, held during its lifetime.
class FileLock {
  public:
    explicit FileLock(const fs::path& path)
        : descriptor_(open(path.c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0644)) {
        if (descriptor_ < 0 || flock(descriptor_, LOCK_EX) != 0) {
            throw std::runtime_error("cannot lock " + path.string());
        }
    }
    ~FileLock() { close(descriptor_); }
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

  private:
    int descriptor_;
};

int runFFmpeg(const std::vector<std::string>& arguments, const fs::path& log) {
    std::vector<std::string> all{"ffmpeg", "-nostdin", "-hide_banner", "-v", "error", "-y"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    argv.reserve(all.size() + 1);
    for (auto& argument : all) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, log.c_str(),
                                     O_CREAT | O_WRONLY | O_TRUNC, 0644);
    pid_t child = 0;
    const int spawned = posix_spawnp(&child, "ffmpeg", &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = 1;
    if (spawned != 0 || waitpid(child, &status, 0) != child) {
        return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::vector<std::string> wordsOf(const std::string& line) {
    std::vector<std::string> words;
    bool isInWord = false;
    char quote = 0;
    for (const char c : line) {
        const bool isQuote = quote == 0 ? c == '"' || c == '\'' : c == quote;
        if (quote == 0 && c == ' ') {
            isInWord = false;
            continue;
        }
        if (!std::exchange(isInWord, true)) {
            words.emplace_back();
        }
        if (isQuote) {
            quote = quote == 0 ? c : '\0';
        } else {
            words.back() += c;
        }
    }
    return words;
}

} // namespace

std::optional<fs::path> sharedMediaFolder() {
    const char* named = std::getenv("ZELVANE_SHARED_MEDIA"); // NOLINT(concurrency-mt-unsafe)
    const fs::path folder = named != nullptr ? named : ZELVANE_SHARED_MEDIA;
    std::error_code ignored;
    if (!fs::exists(folder / "MANIFEST.tsv", ignored)) {
        return std::nullopt;
    }
    return fs::canonical(folder);
}

fs::path madeClip(const std::string& name, const std::vector<std::string>& arguments) {
    const fs::path folder = ZELVANE_CLIP_FOLDER;
    fs::create_directories(folder);
    // The command is part of the identity: a changed command makes the clip again.
    std::string recipe;
    for (const auto& argument : arguments) {
        recipe += argument + '\n';
    }
    fs::path clip = folder / name;
    const fs::path recipeFile = folder / (name + ".recipe");
    const FileLock lock(folder / (name + ".lock"));
    if (fs::exists(clip) && bytesOf(recipeFile) == recipe) {
        return clip;
    }
    const fs::path unfinished = folder / ("unfinished-" + name);
    const fs::path log = folder / (name + ".log");
    auto all = arguments;
    all.push_back(unfinished.string());
    if (runFFmpeg(all, log) != 0) {
        throw std::runtime_error("ffmpeg could not make " + name + ": " + bytesOf(log));
    }
    fs::rename(unfinished, clip);
    std::ofstream(recipeFile) << recipe;
    return clip;
}

fs::path madeClip(const std::string& name, const std::string& arguments) {
    return madeClip(name, wordsOf(arguments));
}

fs::path madeText(const std::string& name, const std::string& text) {
    const fs::path folder = ZELVANE_CLIP_FOLDER;
    fs::create_directories(folder);
    fs::path file = folder / (std::to_string(std::hash<std::string>()(text)) + "-" + name);
    const FileLock lock(folder / (name + ".lock"));
    if (bytesOf(file) != text) {
        std::ofstream(file, std::ios::binary) << text;
    }
    return file;
}

std::string lavfi(const std::string& graph) {
    return "-f lavfi -i \"" + graph + "\" ";
}

std::string inputFile(const fs::path& path) {
    return "-i \"" + path.string() + "\" ";
}

std::string bytesOf(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

TemporaryFolder::TemporaryFolder() {
    std::string pattern = (fs::temp_directory_path() / "zelvane-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("cannot make a temporary folder");
    }
    path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

} // namespace zelvane::test
