#include "file_list.h"

#include "errors.h"
#include "report.h"

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

namespace zucli {

namespace {

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

InputItem itemFor(const fs::path &path, const fs::path &relative) {
    std::error_code error;
    const uintmax_t size = fs::file_size(path, error);
    return {path.string(), relative.string(), error ? 0 : static_cast<uint64_t>(size)};
}

class FolderWalk {
  public:
    FolderWalk(const FileSelection &selection, FileList &list) : m_selection(selection), m_list(list) {}

    void walk(const fs::path &folder, const fs::path &relative) {
        std::error_code error;
        if (!m_selection.outputFolder.empty() && fs::equivalent(folder, m_selection.outputFolder, error)) {
            return;
        }
        std::vector<fs::path> entries;
        fs::directory_iterator entry(folder, error);
        for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
            entries.push_back(entry->path());
        }
        if (error) {
            m_list.problems.push_back(
                systemMessage(printable(folder.string()) + ": cannot read the folder", error.value()));
        }
        std::sort(entries.begin(), entries.end());
        for (const fs::path &path : entries) {
            visit(path, relative / path.filename());
        }
    }

  private:
    void visit(const fs::path &path, const fs::path &relative) {
        std::error_code error;
        // Links to folders may lead in circles; links to files are harmless.
        if (fs::is_directory(fs::symlink_status(path, error))) {
            walk(path, relative);
        } else if (fs::is_regular_file(path, error) && isWanted(path)) {
            m_list.items.push_back(itemFor(path, relative));
        }
    }

    [[nodiscard]] bool isWanted(const fs::path &path) const {
        const std::string extension = lowerCase(path.extension().string());
        if (std::ranges::find(m_selection.extensions, extension) == m_selection.extensions.end()) {
            return false;
        }
        return m_selection.outputSuffix.empty() || !path.stem().string().ends_with(m_selection.outputSuffix);
    }

    const FileSelection &m_selection;
    FileList &m_list;
};

} // namespace

FileList listFiles(const std::vector<std::string> &arguments, const FileSelection &selection) {
    FileSelection normal = selection;
    for (std::string &extension : normal.extensions) {
        if (!extension.starts_with('.')) {
            extension.insert(0, 1, '.');
        }
        extension = lowerCase(extension);
    }
    FileList list;
    FolderWalk walk(normal, list);
    for (const std::string &argument : arguments) {
        std::error_code error;
        if (normal.recursive && argument != "-" && fs::is_directory(argument, error)) {
            walk.walk(argument, {});
        } else {
            list.items.push_back(itemFor(argument, fs::path(argument).filename()));
        }
    }
    return list;
}

} // namespace zucli
