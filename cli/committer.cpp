#include "committer.h"

#include "disk_sync.h"
#include "report.h"

#include <algorithm>
#include <cerrno>
#include <sys/resource.h>

namespace zucli {

namespace {

using Problems = std::vector<std::optional<CommandError>>;

// Does the same with each file that has had no problem so far.
template <class Step> void forEachSound(std::span<OutputFile *const> files, Problems &problems, Step step) {
    for (size_t i = 0; i < files.size(); ++i) {
        if (problems[i]) {
            continue;
        }
        try {
            step(i);
        } catch (const CommandError &error) {
            problems[i] = error;
        }
    }
}

} // namespace

size_t Committer::groupSize() {
    constexpr size_t kMost = 256;
    constexpr size_t kShare = 8; // two groups under way, their backups, and as much for everything else
    struct rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return 1;
    }
    // Wider than a size on 32-bit systems.
    return static_cast<size_t>(std::clamp<rlim_t>(limit.rlim_cur / kShare, 1, kMost));
}

Problems Committer::commit(std::span<OutputFile *const> files) {
    Problems problems(files.size());
    forEachSound(files, problems, [&](size_t i) { files[i]->keepOriginal(); });

    std::vector<int> descriptors;
    std::vector<size_t> owners;
    bool copies = false;
    forEachSound(files, problems, [&](size_t i) {
        descriptors.push_back(files[i]->m_temporary.descriptor());
        owners.push_back(i);
        if (files[i]->m_backupCopy.exists()) {
            descriptors.push_back(files[i]->m_backupCopy.descriptor());
            owners.push_back(i);
            copies = true;
        }
    });
    const std::vector<int> errors = syncFiles(descriptors);
    for (size_t i = 0; i < errors.size(); ++i) {
        if (errors[i] != 0 && !problems[owners[i]]) {
            problems[owners[i]] = CommandError(
                kExitOutput,
                systemMessage(printable(files[owners[i]]->m_target.path) + ": cannot finish writing", errors[i]));
        }
    }
    if (copies) {
        std::set<std::string> folders;
        forEachSound(files, problems, [&](size_t i) {
            if (files[i]->m_backupCopy.exists()) {
                files[i]->nameBackupCopy();
                folders.insert(folderOf(files[i]->m_target.path));
            }
        });
        syncFolders(folders);
    }
    forEachSound(files, problems, [&](size_t i) { takeName(*files[i]); });
    return problems;
}

void Committer::takeName(OutputFile &file) {
    struct stat status = {};
    if (stat(file.m_target.path.c_str(), &status) == 0 && m_written.contains({status.st_dev, status.st_ino})) {
        throw CommandError(kExitOutput, printable(file.m_target.path) +
                                            ": another input was already written to it; convert them into different "
                                            "folders");
    }
    file.takeName();
    m_written.insert({file.m_written.st_dev, file.m_written.st_ino});
    m_folders.insert(folderOf(file.m_target.path));
}

void Committer::finish() {
    syncFolders(m_folders);
    m_folders.clear();
}

} // namespace zucli
