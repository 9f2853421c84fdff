#pragma once

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

// The options that detection has in every subcommand.
struct DetectionOptions {
    std::string prefer;
    size_t sample = 0;
};
void addDetectionOptions(CLI::App &command, DetectionOptions &options);

// The options that choose files in every subcommand.
struct FileOptions {
    std::vector<std::string> files;
    bool recursive = false;
    std::string extensions;
};
void addFileOptions(CLI::App &command, FileOptions &options);

} // namespace zucli
