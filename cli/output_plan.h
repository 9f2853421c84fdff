#pragma once

#include "file_list.h"
#include "output_file.h"

#include <set>
#include <string>
#include <sys/stat.h>

namespace zucli {

// Where the results go, as the options say.
struct OutputRules {
    std::string output; // one file, "-" for standard output
    std::string outputFolder;
    std::string suffix; // goes between the name and its extension: movie.srt, movie.utf8.srt
    std::string backupSuffix;
    bool inPlace = false;
    bool force = false;

    [[nodiscard]] bool toStandardOutput() const { return output == "-"; }
};

// Finds the output of each input, and keeps inputs and earlier results of the same run from being overwritten.
class OutputPlanner {
  public:
    explicit OutputPlanner(OutputRules rules) : m_rules(std::move(rules)) {}

    // Makes the folder of the output where --out-dir asks for it.
    OutputTarget plan(const InputItem &input, const struct stat &inputStatus);

    [[nodiscard]] const OutputRules &rules() const { return m_rules; }

  private:
    [[nodiscard]] std::string outputPath(const InputItem &input) const;

    OutputRules m_rules;
    std::set<std::string> m_used;
};

} // namespace zucli
