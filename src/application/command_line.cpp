// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/command_line.h"

#include <algorithm>
#include <string_view>

#include <QCommandLineParser>

#include <fmt/format.h>

#include "foundation/error.h"

namespace zelvane {
namespace {

constexpr std::string_view kHelp = R"(Usage: zelvane-player [OPTION]... [FILE|URL]...

Plays video and audio files, each in a window of its own. If the player is already
running, its process opens the files. Without files it opens the windows of the last
run, or offers to choose a file.

Options:
  -h, --help     print this help and exit
  -v, --version  print the version and exit
  --             everything after this is a file

Exit status:
  0  success, also when the running player has taken the files
  1  a file could not be opened
  2  wrong usage
)";
constexpr std::string_view kVersion = "Zelvane Player " ZELVANE_VERSION "\n";

/// The application object interprets them later.
void addOptionsOfToolkit(QCommandLineParser& parser) {
    const auto add = [&parser](const char* name, const char* value) {
        parser.addOption({QString::fromLatin1(name), QString(), QString::fromLatin1(value)});
    };
    for (const char* name :
         {"platform", "platformpluginpath", "platformtheme", "plugin", "style", "stylesheet",
          "display", "geometry", "qwindowgeometry", "qwindowicon", "qwindowtitle", "session"}) {
        add(name, "value");
    }
    add("reverse", "");
}

URL urlOf(const std::string& argument) {
    return argument.find("://") == std::string::npos ? URL::fromPath(argument)
                                                     : URL::parse(argument);
}

} // namespace

CommandLine parseCommandLine(const std::vector<std::string>& arguments) {
    // File names are bytes in any encoding, or in none: Latin-1 keeps all of them.
    QStringList texts;
    for (const std::string& argument : arguments) {
        texts << QString::fromLatin1(argument.data(), static_cast<qsizetype>(argument.size()));
    }
    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    parser.addOption(QCommandLineOption(QStringList{"h", "help"}));
    parser.addOption(QCommandLineOption(QStringList{"v", "version"}));
    addOptionsOfToolkit(parser);
    CommandLine result;
    if (!parser.parse(texts)) {
        result.answer = {"zelvane-player: " + parser.errorText().toLatin1().toStdString() +
                             "\nTry 'zelvane-player --help'.\n",
                         ExitStatus::wrongUsage};
    } else if (parser.isSet("help")) {
        result.answer = {std::string(kHelp)};
    } else if (parser.isSet("version")) {
        result.answer = {std::string(kVersion)};
    } else {
        for (const QString& name : parser.positionalArguments()) {
            result.files.push_back(urlOf(name.toLatin1().toStdString()));
        }
    }
    return result;
}

std::string openFailureLine(const URL& url, const std::exception& error) {
    std::string name = url.isFileURL() ? url.path() : url.absoluteString();
    const auto isControl = [](char c) {
        return static_cast<unsigned char>(c) < ' ' || c == '\x7f';
    };
    std::replace_if(name.begin(), name.end(), isControl, '?');
    return fmt::format("zelvane-player: {}: {}\n", name, errorDescriptionText(error));
}

} // namespace zelvane
