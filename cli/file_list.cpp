#include "file_list.h"

#include "errors.h"
#include "report.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <unistd.h>

namespace fs = std::filesystem;

namespace zucli {

namespace {

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

InputItem itemFor(const std::string &path, std::string relative) {
    InputItem item{path, std::move(relative)};
    struct stat status = {};
    if ((path == "-" ? fstat(STDIN_FILENO, &status) : stat(path.c_str(), &status)) != 0) {
        item.error = errno;
        return item;
    }
    item.mode = status.st_mode;
    item.id = {status.st_dev, status.st_ino};
    item.size = S_ISREG(status.st_mode) ? static_cast<uint64_t>(status.st_size) : 0;
    return item;
}

class FolderWalk {
  public:
    FolderWalk(const FileSelection &selection, FileList &list) : m_selection(selection), m_list(list) {}

    void walk(const fs::path &folder, const fs::path &relative) {
        std::error_code error;
        if (!m_selection.outputFolder.empty() && fs::equivalent(folder, m_selection.outputFolder, error)) {
            return;
        }
        std::vector<fs::directory_entry> entries;
        fs::directory_iterator entry(folder, error);
        for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
            entries.push_back(*entry);
        }
        if (error) {
            m_list.problems.push_back(
                systemMessage(printable(folder.string()) + ": cannot read the folder", error.value()));
        }
        std::sort(entries.begin(), entries.end());
        for (const fs::directory_entry &each : entries) {
            visit(each, relative / each.path().filename());
        }
    }

  private:
    void visit(const fs::directory_entry &found, const fs::path &relative) {
        const fs::path &path = found.path();
        std::error_code error;
        // Links to folders may lead in circles; links to files are harmless.
        if (!found.is_symlink(error) && found.is_directory(error)) {
            walk(path, relative);
            return;
        }
        if (!isWanted(path)) {
            return;
        }
        InputItem item = itemFor(path.string(), relative.string());
        if (item.isRegular()) {
            m_list.items.push_back(std::move(item));
        }
    }

    [[nodiscard]] bool isWanted(const fs::path &path) const {
        fs::path name = path.filename();
        if (!m_selection.backupSuffix.empty()) {
            int number = 0;
            name = originalOf(name.string(), m_selection.backupSuffix, number);
        }
        const std::string extension = lowerCase(name.extension().string());
        if (std::ranges::find(m_selection.extensions, extension) == m_selection.extensions.end()) {
            return false;
        }
        return m_selection.outputSuffix.empty() || !name.stem().string().ends_with(m_selection.outputSuffix);
    }

    const FileSelection &m_selection;
    FileList &m_list;
};

std::string remarkOnEmpty(const std::string &folder, const FileSelection &selection) {
    std::string names;
    for (const std::string &extension : selection.extensions) {
        names += (names.empty() ? "*" : ", *") + extension + selection.backupSuffix;
    }
    return printable(folder) + ": no files to take in this folder (" + names + "); --ext takes others";
}

} // namespace

FileList listFiles(const std::vector<std::string> &arguments, const FileSelection &selection) {
    FileList list;
    FolderWalk walk(selection, list);
    for (const std::string &argument : arguments) {
        std::error_code error;
        if (!selection.recursive || argument == "-" || !fs::is_directory(argument, error)) {
            list.items.push_back(itemFor(argument, fs::path(argument).filename()));
            continue;
        }
        const size_t before = list.items.size() + list.problems.size();
        walk.walk(argument, {});
        if (list.items.size() + list.problems.size() == before) {
            list.remarks.push_back(remarkOnEmpty(argument, selection));
        }
    }
    return list;
}

int reportOnList(const FileList &list, JsonWriter &json, bool asJson) {
    json.strings("problems", list.problems);
    json.strings("remarks", list.remarks);
    for (const auto *messages : {&list.problems, &list.remarks}) {
        for (size_t i = 0; !asJson && i < messages->size(); ++i) {
            printMessage((*messages)[i]);
        }
    }
    return list.problems.empty() ? kExitOk : kExitInput;
}

std::vector<std::string> splitList(std::string_view list, char separator) {
    std::vector<std::string> parts;
    while (!list.empty()) {
        const size_t end = std::min(list.find(separator), list.size());
        if (end > 0) {
            parts.emplace_back(list.substr(0, end));
        }
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return parts;
}

std::vector<std::string> parseExtensions(std::string_view list) {
    std::vector<std::string> extensions = splitList(list);
    for (std::string &extension : extensions) {
        extension.erase(0, extension.starts_with('*') ? 1 : 0);
        extension = lowerCase((extension.starts_with('.') ? "" : ".") + extension);
    }
    return extensions;
}

std::string behindLink(const std::string &path) {
    std::error_code error;
    if (!fs::is_symlink(fs::symlink_status(path, error))) {
        return path;
    }
    const fs::path real = fs::canonical(path, error);
    return error ? path : real.string();
}

std::string originalOf(const std::string &path, const std::string &backupSuffix, int &number) {
    number = 0;
    std::string_view name = path;
    if (!name.ends_with(backupSuffix)) {
        const size_t dot = std::min(name.rfind('.'), name.size() - 1);
        const char *end = name.data() + name.size();
        if (std::from_chars(name.data() + dot + 1, end, number).ptr != end || number <= 0) {
            return {};
        }
        name = name.substr(0, dot);
    }
    if (!name.ends_with(backupSuffix)) {
        return {};
    }
    name.remove_suffix(backupSuffix.size());
    return name.empty() || name.ends_with('/') ? std::string() : std::string(name);
}

} // namespace zucli
