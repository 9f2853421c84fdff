#pragma once

#include "file_list.h"
#include "zutext.h"

#include <CLI/CLI.hpp>
#include <functional>

namespace zucli {

// Runs the chosen subcommand and gives the exit code.
using Action = std::function<int()>;

// Each adds one subcommand and, when it is chosen on the command line, stores its action.
void addDetectCommand(CLI::App &app, Action &chosen);
void addConvertCommand(CLI::App &app, Action &chosen);
void addListCommand(CLI::App &app, Action &chosen);
void addExplainCommand(CLI::App &app, Action &chosen);
void addRestoreCommand(CLI::App &app, Action &chosen);

// The options that detection has in every subcommand.
struct DetectionOptions {
    std::string prefer;
    uint32_t sample = 0;
    bool plain = false;
    std::string hintOrigin; // where the hints stand: on the command line or in the environment

    // Takes the hints of the environment where none were given, and checks them.
    void complete();
    // Points to the hints.
    [[nodiscard]] zutext_options textOptions() const;
};
void addDetectionOptions(CLI::App &command, DetectionOptions &options);

// The options that choose files in every subcommand.
struct FileOptions {
    std::vector<std::string> files;
    bool recursive = false;
    std::string extensions;
    size_t jobs = 0; // threads
    bool json = false;

    // Standard input when no file is given and standard input is no terminal.
    void complete();
    [[nodiscard]] FileSelection selection() const;
};
void addFileOptions(CLI::App &command, FileOptions &options);

} // namespace zucli
