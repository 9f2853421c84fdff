#include "output_plan.h"

#include "report.h"

#include <cerrno>
#include <filesystem>
#include <unistd.h>

namespace fs = std::filesystem;

namespace zucli {

namespace {

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

std::string withSuffix(const std::string &path, const std::string &suffix) {
    fs::path result(path);
    const std::string extension = result.extension().string();
    return result.replace_filename(result.stem().string() + suffix + extension).string();
}

OutputPlanner::OutputPlanner(OutputRules rules, const std::vector<InputItem> &inputs) : m_rules(std::move(rules)) {
    for (const InputItem &input : inputs) {
        if (input.isRegular()) {
            m_inputs.insert(input.id);
        }
    }
}

std::string OutputPlanner::outputPath(const InputItem &input) const {
    if (m_rules.inPlace) {
        return input.path;
    }
    if (!m_rules.output.empty()) {
        return m_rules.output;
    }
    const fs::path path =
        m_rules.outputFolder.empty() ? fs::path(input.path) : fs::path(m_rules.outputFolder) / input.relative;
    return m_rules.suffix.empty() ? path.string() : withSuffix(path.string(), m_rules.suffix);
}

// Without links, so that two ways to one file show.
std::string OutputPlanner::realPath(const std::string &path) {
    const std::string folder = folderOf(path);
    auto known = m_realFolders.find(folder);
    if (known == m_realFolders.end()) {
        std::error_code error;
        const fs::path real = fs::canonical(folder, error);
        known = m_realFolders.emplace(folder, error ? folder : (real / "").string()).first;
    }
    return known->second + fs::path(path).filename().string();
}

OutputTarget OutputPlanner::targetInPlace(const InputItem &input) {
    if (!input.isRegular() || input.path == "-") {
        throw CommandError(kExitInput, printable(input.path) + ": is not a regular file; --in-place cannot replace it");
    }
    // The file behind a link is replaced, and the link stays.
    std::string path = behindLink(input.path);
    // A link and its file, or a file named twice: converting the result again would ruin it.
    if (!m_outputs.insert(realPath(path)).second) {
        throw CommandError(kExitOutput, printable(input.path) + ": was already converted under this or another name");
    }
    return {std::move(path), true, true, m_rules.backupSuffix};
}

OutputTarget OutputPlanner::targetFor(const InputItem &input, const std::string &path) {
    struct stat status = {};
    const bool standardOutput = path == "-";
    const bool exists = (standardOutput ? fstat(STDOUT_FILENO, &status) : stat(path.c_str(), &status)) == 0;
    const FileId id = {status.st_dev, status.st_ino};
    if (exists && S_ISREG(status.st_mode) && id == input.id) {
        throw CommandError(kExitOutput, printable(input.path) +
                                            ": input and output are the same file; use --in-place, or another output");
    }
    if (standardOutput) {
        return {path};
    }
    if (exists && S_ISDIR(status.st_mode)) {
        throw CommandError(kExitOutput, systemMessage(printable(path) + ": cannot write", EISDIR));
    }
    if (exists && S_ISREG(status.st_mode)) {
        if (m_inputs.contains(id)) {
            throw CommandError(kExitOutput, printable(input.path) + ": its output " + printable(path) +
                                                " is another input; convert them one after the other");
        }
        if (!m_rules.force) {
            throw CommandError(kExitOutput, printable(path) + ": exists already; --force replaces it");
        }
    }
    if (!m_rules.outputFolder.empty() && !m_rules.dryRun) {
        makeFolderFor(path);
    }
    OutputTarget target{behindLink(path), m_rules.force};
    if (!m_outputs.insert(realPath(target.path)).second) {
        throw CommandError(kExitOutput, printable(input.path) + ": another input was already written to " +
                                            printable(path) + "; convert them into different folders");
    }
    return target;
}

PlannedFile OutputPlanner::plan(InputItem item) {
    PlannedFile planned{std::move(item)};
    const InputItem &input = planned.input;
    try {
        if (input.error != 0) {
            throw CommandError(kExitInput, systemMessage(printable(input.path) + ": cannot open", input.error));
        }
        if (S_ISDIR(input.mode)) {
            throw CommandError(kExitInput,
                               printable(input.path) + ": is a folder; use --recursive to take the files in it");
        }
        planned.output = outputPath(input);
        planned.target = m_rules.inPlace ? targetInPlace(input) : targetFor(input, planned.output);
    } catch (const CommandError &error) {
        planned.refusal = error;
    }
    return planned;
}

} // namespace zucli
