#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace zucli {

inline constexpr const char *kDefaultExtensions = ".srt,.sub,.ass,.ssa,.txt,.smi,.vtt";

// What tells a file from all others, whatever its names.
using FileId = std::pair<dev_t, ino_t>;

struct InputItem {
    std::string path;     // "-" is standard input
    std::string relative; // its place below the folder that was named, or just the file name
    int error = 0;        // errno value: why there is no such file; the rest is valid when this is 0
    mode_t mode = 0;
    FileId id = {};
    uint64_t size = 0; // for the progress display; 0 when unknown

    [[nodiscard]] bool isRegular() const { return error == 0 && S_ISREG(mode); }
};

struct FileSelection {
    bool recursive = false;
    std::vector<std::string> extensions; // in folders only these; a file that is named itself is always taken
    std::string outputFolder;            // earlier results in it are not taken as input
    std::string outputSuffix;            // nor are files with this before the extension
    std::string backupSuffix;            // not empty: kept originals are wanted, movie.srt.orig, and nothing else
};

struct FileList {
    std::vector<InputItem> items;
    std::vector<std::string> problems; // folders that could not be read
    std::vector<std::string> remarks;  // folders without a file to take
};

// The files that the arguments name, folders replaced by their files in the order of their names.
FileList listFiles(const std::vector<std::string> &arguments, const FileSelection &selection);

// Adds to the open JSON object what the list has to say, or prints it. Gives the exit code.
class JsonWriter;
int reportOnList(const FileList &list, JsonWriter &json, bool asJson);

// The parts of a list, empty ones left out.
std::vector<std::string> splitList(std::string_view list, char separator = ',');

// ".srt" from "srt", ".srt" or "*.srt", in lower case, for each part of a comma-separated list.
std::vector<std::string> parseExtensions(std::string_view list);

// The file behind a link; other names as they are.
std::string behindLink(const std::string &path);

// The name that a backup was made of: "movie.srt" for "movie.srt.orig" and "movie.srt.orig.2". Empty for other names.
// `number` is 0 or the one at the end.
std::string originalOf(const std::string &path, const std::string &backupSuffix, int &number);

} // namespace zucli
