#include "commands.h"

#include "disk_sync.h"
#include "errors.h"
#include "file_list.h"
#include "report.h"
#include "temporary_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <map>
#include <memory>
#include <set>
#include <sys/stat.h>

namespace zucli {

namespace {

constexpr const char *kRestoreFooter = R"(Puts back the originals that 'convert --in-place' kept: movie.srt.orig becomes
movie.srt again. Name the files, or folders with --recursive. Of several kept
originals of a file the latest is taken, so each run undoes one conversion. A
file that was changed after its conversion is left alone without --force.

Examples:
  zucharset restore movie.srt
  zucharset restore -r ~/Videos

Exit codes: 0 all right, 2 wrong usage, 3 no original was kept, 4 an original
cannot be put back, 130 interrupted. More in 'zucharset --help'.
)";

struct RestoreOptions {
    std::vector<std::string> files;
    std::string extensions = kDefaultExtensions;
    std::string backupSuffix = ".orig";
    bool recursive = false;
    bool force = false;
    bool dryRun = false;
    bool quiet = false;
};

// The latest backup of a file: the one with the highest number.
std::string latestBackup(const std::string &path, const std::string &suffix) {
    std::string latest;
    std::string name = path + suffix;
    struct stat status = {};
    for (int number = 1; lstat(name.c_str(), &status) == 0; ++number) {
        latest = name;
        name = path + suffix + "." + std::to_string(number);
    }
    return latest;
}

// A backup's status changes when the converted file takes the original's name. File systems that store it coarsely
// round by up to two seconds.
bool changedSince(const struct stat &file, const struct stat &backup) {
    constexpr time_t kRounding = 2;
    return file.st_mtim.tv_sec > backup.st_ctim.tv_sec + kRounding;
}

class Restoration {
  public:
    explicit Restoration(const RestoreOptions &options) : m_options(options) {}

    int run() {
        if (m_options.backupSuffix.empty() || m_options.backupSuffix.find('/') != std::string::npos) {
            throw CommandError(kExitUsage, "a suffix is part of a file name: not empty and without '/'");
        }
        FileSelection selection;
        selection.recursive = m_options.recursive;
        selection.extensions = parseExtensions(m_options.extensions);
        selection.backupSuffix = m_options.backupSuffix;
        const FileList list = listFiles(m_options.files, selection);
        for (const InputItem &item : list.items) {
            int number = 0;
            const std::string original = originalOf(item.path, m_options.backupSuffix, number);
            original.empty() ? tryRestore(behindLink(item.path), {}) : tryRestore(original, item.path);
        }
        syncFolders(m_folders);
        JsonWriter unused;
        return std::max(m_exitCode, reportOnList(list, unused, false));
    }

  private:
    void tryRestore(const std::string &path, const std::string &named) {
        if (!m_seen.insert(path).second) {
            return;
        }
        try {
            restore(path, named);
        } catch (const CommandError &error) {
            printMessage(error.what());
            m_exitCode = std::max<int>(m_exitCode, error.exitCode());
        }
    }

    void restore(const std::string &path, const std::string &named) {
        const std::string latest = latestBackup(path, m_options.backupSuffix);
        const std::string &backup = latest.empty() ? named : latest;
        struct stat kept = {};
        if (backup.empty() || stat(backup.c_str(), &kept) != 0) {
            throw CommandError(kExitInput, printable(path) + ": no original was kept as " +
                                               printable(path + m_options.backupSuffix));
        }
        struct stat present = {};
        const bool exists = stat(path.c_str(), &present) == 0;
        if (exists && !m_options.force && changedSince(present, kept)) {
            throw CommandError(kExitOutput, printable(path) + ": was changed after its conversion; --force puts " +
                                                printable(backup) + " back all the same");
        }
        if (!m_options.dryRun) {
            const NameLock lock;
            const int error =
                exists ? (rename(backup.c_str(), path.c_str()) == 0 ? 0 : errno) : renameToFreeName(backup, path);
            if (error != 0) {
                throw CommandError(
                    kExitOutput, systemMessage(printable(path) + ": cannot put " + printable(backup) + " back", error));
            }
            m_folders.insert(folderOf(path));
        }
        if (!m_options.quiet) {
            printOut(printable(path) + ": original put back from " + printable(backup) +
                     (m_options.dryRun ? " (dry run, not done)\n" : "\n"));
        }
    }

    const RestoreOptions &m_options;
    std::set<std::string> m_seen;
    std::set<std::string> m_folders;
    int m_exitCode = kExitOk;
};

} // namespace

void addRestoreCommand(CLI::App &app, Action &chosen) {
    CLI::App *command = app.add_subcommand("restore", "Put back the originals that convert --in-place kept");
    command->footer(kRestoreFooter);
    auto options = std::make_shared<RestoreOptions>();
    command->add_option("FILE", options->files, "Converted files, or their kept originals")
        ->option_text("...")
        ->required();
    command->add_flag("-r,--recursive", options->recursive, "Take the kept originals in folders, and in those in them");
    command->add_option("--ext", options->extensions, "In folders, take only originals with these extensions")
        ->option_text(std::string("LIST [") + kDefaultExtensions + "]");
    command->add_option("--backup-suffix", options->backupSuffix, "What names the kept originals")
        ->option_text("SUFFIX [.orig]");
    command->add_flag("--force", options->force, "Also where the file was changed after its conversion");
    command->add_flag("-n,--dry-run", options->dryRun, "Show what would be put back, and do nothing");
    command->add_flag("-q,--quiet", options->quiet, "Print only errors");
    command->callback([options, &chosen] { chosen = [options] { return Restoration(*options).run(); }; });
}

} // namespace zucli
