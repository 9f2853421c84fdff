#include "commands.h"
#include "errors.h"
#include "file_list.h"
#include "guess.h"
#include "interrupts.h"
#include "report.h"

#include <cerrno>
#include <iostream>

#ifndef ZUCHARSET_VERSION
#define ZUCHARSET_VERSION "unknown"
#endif

namespace zucli {

namespace {

constexpr const char *kFooter = R"(Examples:
  zucharset detect *.srt
  zucharset convert movie.srt > movie.utf8.srt
  zucharset convert -r --in-place ~/Videos
  zucharset explain movie.srt
  zucharset convert --help

Exit codes; with several files the highest one counts:
  0    all right
  1    converted, but text was lost: characters without a meaning in the
       encoding, or a character that the end of the file cuts off
  2    wrong usage: unknown option, encoding or combination
  3    an input file or folder cannot be read
  4    an output cannot be written, or exists already
  5    the library refused to detect or convert
  6    another failure, such as no memory
  129, 130, 143
       ended by SIGHUP, SIGINT (Ctrl-C) or SIGTERM; an unfinished output file
       is removed

VEMORA_LOG=1 to 6 in the environment shows the log lines of the library on
standard error, 6 the most.
)";

int run(int argc, char **argv) {
    installSignalHandling();
    CLI::App app("Finds the encoding of subtitle and text files and converts them to UTF-8.", "zucharset");
    app.footer(kFooter);
    app.set_version_flag("--version", "zucharset " ZUCHARSET_VERSION);
    app.require_subcommand(1);
    Action chosen;
    addDetectCommand(app, chosen);
    addConvertCommand(app, chosen);
    addExplainCommand(app, chosen);
    addListCommand(app, chosen);
    try {
        app.parse(argc, argv);
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

void addDetectionOptions(CLI::App &command, DetectionOptions &options) {
    options.sample = kDefaultSample;
    command
        .add_option("--prefer", options.prefer,
                    "A hint for single-byte texts: the first of these that defines every byte wins")
        ->option_text("NAME[,NAME...]");
    command.add_option("--sample", options.sample, "Detect by this much of the start of a file; 64K and 2M work too")
        ->option_text("SIZE [1M]")
        ->transform(CLI::AsSizeValue(false))
        ->check(CLI::Range(size_t{1}, kLargestSample));
}

void addFileOptions(CLI::App &command, FileOptions &options) {
    options.extensions = kDefaultExtensions;
    command.add_option("FILE", options.files, "Files; - is standard input")->option_text("...")->required();
    command.add_flag("-r,--recursive", options.recursive, "Take the files in folders, and in the folders in them");
    command.add_option("--ext", options.extensions, "In folders, take only files with these extensions")
        ->option_text(std::string("LIST [") + kDefaultExtensions + "]");
}

} // namespace zucli

int main(int argc, char **argv) {
    try {
        return zucli::run(argc, argv);
    } catch (const zucli::CommandError &error) {
        zucli::printMessage(error.what());
        return error.exitCode();
    } catch (const std::exception &error) {
        zucli::printMessage(error.what());
        return zucli::kExitInternal;
    }
}
