#include "output_plan.h"

#include "errors.h"
#include "report.h"

#include <filesystem>
#include <unistd.h>

namespace fs = std::filesystem;

namespace zucli {

namespace {

bool isSameRegularFile(const struct stat &a, const struct stat &b) {
    return S_ISREG(a.st_mode) && a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

void makeFolderFor(const std::string &path) {
    const fs::path folder = fs::path(path).parent_path();
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) {
        throw CommandError(kExitOutput,
                           systemMessage(printable(folder.string()) + ": cannot make the folder", error.value()));
    }
}

} // namespace

std::string OutputPlanner::outputPath(const InputItem &input) const {
    if (!m_rules.output.empty()) {
        return m_rules.output;
    }
    fs::path path =
        m_rules.outputFolder.empty() ? fs::path(input.path) : fs::path(m_rules.outputFolder) / input.relative;
    if (!m_rules.suffix.empty()) {
        const std::string extension = path.extension().string();
        path.replace_filename(path.stem().string() + m_rules.suffix + extension);
    }
    return path.string();
}

OutputTarget OutputPlanner::plan(const InputItem &input, const struct stat &inputStatus) {
    if (m_rules.inPlace) {
        if (!S_ISREG(inputStatus.st_mode) || input.path == "-") {
            throw CommandError(kExitInput,
                               printable(input.path) + ": is not a regular file; --in-place cannot replace it");
        }
        std::error_code error;
        // A link and its file, or a file named twice: converting the result again would ruin it.
        if (!m_used.insert(fs::canonical(input.path, error).string()).second) {
            throw CommandError(kExitOutput,
                               printable(input.path) + ": was already converted under this or another name");
        }
        return {input.path, true, m_rules.backupSuffix};
    }
    OutputTarget target{outputPath(input), m_rules.force, {}};
    const bool standardOutput = m_rules.toStandardOutput();
    struct stat status = {};
    const int found = standardOutput ? fstat(STDOUT_FILENO, &status) : stat(target.path.c_str(), &status);
    if (found == 0 && isSameRegularFile(status, inputStatus)) {
        throw CommandError(kExitOutput, printable(input.path) +
                                            ": input and output are the same file; use --in-place, or another output");
    }
    if (standardOutput) {
        return target;
    }
    if (!m_rules.outputFolder.empty()) {
        makeFolderFor(target.path);
    }
    if (!m_used.insert(fs::path(target.path).lexically_normal().string()).second) {
        throw CommandError(kExitOutput, printable(input.path) + ": another input was already written to " +
                                            printable(target.path) + "; convert them into different folders");
    }
    return target;
}

} // namespace zucli
