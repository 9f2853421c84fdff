// The options that several subcommands share.
#include "commands.h"

#include "encodings.h"
#include "errors.h"

#include <cstdlib>
#include <thread>
#include <unistd.h>

namespace zucli {

void addDetectionOptions(CLI::App &command, DetectionOptions &options) {
    constexpr uint32_t kLargestSample = uint32_t{1} << 30;
    command
        .add_option("--prefer", options.prefer,
                    "Encodings and languages that are likelier than others: ru,windows-1251")
        ->option_text("NAME[,NAME...]");
    command
        .add_option("--sample", options.sample,
                    "Judge by this much from the first byte on that is not ASCII; 64K and 2M work too")
        ->option_text("SIZE [1M]")
        ->transform(CLI::AsSizeValue(false))
        ->check(CLI::Range(uint32_t{1}, kLargestSample));
    command.add_flag("--plain", options.plain, "The answer that the library alone gives to a player");
}

void addFileOptions(CLI::App &command, FileOptions &options) {
    constexpr size_t kMostJobs = 1024;
    options.extensions = kDefaultExtensions;
    options.jobs = std::max<size_t>(1, std::thread::hardware_concurrency());
    command.add_option("FILE", options.files, "Files; - is standard input, taken also when none is named")
        ->option_text("...");
    command.add_flag("-r,--recursive", options.recursive, "Take the files in folders, and in the folders in them");
    command.add_option("--ext", options.extensions, "In folders, take only files with these extensions")
        ->option_text(std::string("LIST [") + kDefaultExtensions + "]");
    command.add_option("-j,--jobs", options.jobs, "Work on this many files at a time")
        ->option_text("N [" + std::to_string(options.jobs) + "]")
        ->check(CLI::Range(size_t{1}, kMostJobs));
    command.add_flag("--json", options.json, "Answer with one JSON document");
}

void DetectionOptions::complete() {
    const char *fromEnvironment = std::getenv("ZUCHARSET_PREFER");
    hintOrigin = "--prefer";
    if (prefer.empty() && fromEnvironment != nullptr) {
        prefer = fromEnvironment;
        hintOrigin = "ZUCHARSET_PREFER";
    }
    checkPreferences(prefer, hintOrigin);
}

zutext_options DetectionOptions::textOptions() const {
    zutext_options options = {};
    options.flags = plain ? ZUTEXT_PLAIN : 0;
    options.sample = sample;
    options.prefer = prefer.empty() ? nullptr : prefer.c_str();
    return options;
}

void FileOptions::complete() {
    if (!files.empty()) {
        return;
    }
    if (recursive || isatty(STDIN_FILENO) == 1) {
        throw CommandError(kExitUsage,
                           recursive ? "--recursive needs a folder" : "name a file, or - for standard input");
    }
    files.emplace_back("-");
}

FileSelection FileOptions::selection() const {
    FileSelection selection;
    selection.recursive = recursive;
    selection.extensions = parseExtensions(extensions);
    return selection;
}

} // namespace zucli
