#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zucli {

inline constexpr const char *kDefaultExtensions = ".srt,.sub,.ass,.ssa,.txt,.smi,.vtt";

struct InputItem {
    std::string path;
    std::string relative; // its place below the folder that was named, or just the file name
    uint64_t size = 0;    // for the progress display; 0 when unknown
};

struct FileSelection {
    bool recursive = false;
    std::vector<std::string> extensions; // in folders only these; a file that is named itself is always taken
    std::string outputFolder;            // earlier results in it are not taken as input
    std::string outputSuffix;            // nor are files with this before the extension
};

struct FileList {
    std::vector<InputItem> items;
    std::vector<std::string> problems; // folders that could not be read
};

// The files that the arguments name, folders replaced by their files in the order of their names.
FileList listFiles(const std::vector<std::string> &arguments, const FileSelection &selection);

} // namespace zucli
