#include "commands.h"
#include "errors.h"
#include "interrupts.h"
#include "report.h"

#include <algorithm>
#include <cerrno>
#include <iostream>
#include <unistd.h>

#ifndef ZUCHARSET_VERSION
#define ZUCHARSET_VERSION "unknown"
#endif

namespace zucli {

namespace {

constexpr const char *kFooter = R"(Examples:
  zucharset movie.srt
  zucharset detect *.srt
  zucharset convert movie.srt > movie.utf8.srt
  zucharset convert -r --in-place ~/Videos
  zucharset explain movie.srt
  zucharset convert --help

Exit codes; with several files the highest one counts:
  0    all right
  1    converted, but text was lost: characters without a meaning in the
       encoding, malformed ones, or one that the end of the file cuts off
  2    wrong usage: unknown option, encoding or combination
  3    an input file or folder cannot be read
  4    an output cannot be written, or exists already
  5    not converted: no text, or in an encoding that is not supported
  6    another failure, such as no memory
  129, 130, 143
       ended by SIGHUP, SIGINT (Ctrl-C) or SIGTERM; an unfinished output file
       is removed

ZUCHARSET_PREFER in the environment stands for --prefer where that is not given.
VEMORA_LOG=1 to 6 in the environment shows the log lines of the library on
standard error, 6 the most.
)";

// "zucharset movie.srt" alone is a question: what is this, and how is it converted?
bool asksAboutFile(const CLI::App &app, const std::vector<std::string> &arguments) {
    if (arguments.empty() || (arguments.front().starts_with('-') && arguments.front() != "-") ||
        !app.get_subcommands([&](const CLI::App *each) { return each->get_name() == arguments.front(); }).empty()) {
        return false;
    }
    if (arguments.front() != "-" && access(arguments.front().c_str(), F_OK) != 0) {
        throw CommandError(kExitUsage, printable(arguments.front()) +
                                           ": is neither a command nor a file ('zucharset --help' shows the commands)");
    }
    return true;
}

int run(std::vector<std::string> arguments) {
    installSignalHandling();
    CLI::App app("Finds the encoding of subtitle and text files and converts them to UTF-8.", "zucharset");
    app.footer(kFooter);
    app.set_version_flag("--version", "zucharset " ZUCHARSET_VERSION);
    app.require_subcommand(1);
    Action chosen;
    addDetectCommand(app, chosen);
    addConvertCommand(app, chosen);
    addRestoreCommand(app, chosen);
    addExplainCommand(app, chosen);
    addListCommand(app, chosen);
    if (asksAboutFile(app, arguments)) {
        arguments.insert(arguments.begin(), {"detect", "--advise"});
    }
    try {
        std::ranges::reverse(arguments); // the parser takes them from the end
        app.parse(std::move(arguments));
    } catch (const CLI::ParseError &error) {
        errno = 0;
        const bool answered = app.exit(error) == 0; // --help and --version come as errors too
        if (!std::cout.flush()) {
            throw CommandError(kExitOutput, systemMessage("standard output: cannot write", errno));
        }
        return answered ? kExitOk : kExitUsage;
    }
    return chosen();
}

} // namespace

} // namespace zucli

int main(int argc, char **argv) {
    try {
        return zucli::run({argv + 1, argv + argc});
    } catch (const zucli::CommandError &error) {
        zucli::printMessage(error.what());
        return error.exitCode();
    } catch (const std::exception &error) {
        zucli::printMessage(error.what());
        return zucli::kExitInternal;
    }
}
