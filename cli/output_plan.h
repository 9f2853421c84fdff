#pragma once

#include "errors.h"
#include "file_list.h"
#include "output_file.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zucli {

// Where the results go, as the options say.
struct OutputRules {
    std::string output; // one file, "-" for standard output
    std::string outputFolder;
    std::string suffix; // goes between the name and its extension: movie.srt, movie.utf8.srt
    std::string backupSuffix;
    bool inPlace = false;
    bool force = false;
    bool dryRun = false;

    [[nodiscard]] bool toStandardOutput() const { return output == "-"; }
};

// movieSUFFIX.srt for movie.srt.
std::string withSuffix(const std::string &path, const std::string &suffix);

// An input with its output, or with the reason why it gets none.
struct PlannedFile {
    InputItem input;
    OutputTarget target = {};
    std::string output = {}; // its name as the user would write it
    std::optional<CommandError> refusal = {};
};

// Finds the output of each input before any work begins, so that it does not depend on which file is done first. No
// output is an input of the same run or the output of another.
class OutputPlanner {
  public:
    OutputPlanner(OutputRules rules, const std::vector<InputItem> &inputs);

    // Makes the folder of the output where --out-dir asks for it.
    PlannedFile plan(InputItem input);

  private:
    OutputTarget targetInPlace(const InputItem &input);
    OutputTarget targetFor(const InputItem &input, const std::string &path);
    [[nodiscard]] std::string outputPath(const InputItem &input) const;
    std::string realPath(const std::string &path);

    OutputRules m_rules;
    std::set<FileId> m_inputs;
    std::set<std::string> m_outputs;
    std::map<std::string, std::string> m_realFolders;
};

} // namespace zucli
