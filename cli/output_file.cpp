#include "output_file.h"

#include "errors.h"
#include "interrupts.h"
#include "report.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace zucli {

namespace {

constexpr mode_t kPermissionBits = 07777;
constexpr mode_t kNewFileMode = 0666;

// A link is followed, so that the file behind it is replaced and the link stays.
std::string resolve(const std::string &path) {
    char *resolved = realpath(path.c_str(), nullptr);
    if (resolved == nullptr) {
        return path;
    }
    std::string result(resolved);
    std::free(resolved);
    return result;
}

// Renames unless there is a file under the new name; gives 0 or an errno value.
int renameToFreeName(const std::string &from, const std::string &to) {
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return errno;
    }
    // Some file systems do not know this kind of rename; looking first is the next best thing.
    struct stat status = {};
    if (lstat(to.c_str(), &status) == 0) {
        return EEXIST;
    }
    return rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

mode_t newFileMode() {
    const mode_t mask = umask(0);
    umask(mask);
    return kNewFileMode & ~mask;
}

} // namespace

bool writeAll(int descriptor, Bytes bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) {
            return false;
        }
        if (count > 0) {
            bytes = bytes.subspan(static_cast<size_t>(count));
        }
    }
    return true;
}

OutputFile::OutputFile(OutputTarget target) : m_target(std::move(target)) {
    if (m_target.path == "-") {
        m_descriptor = STDOUT_FILENO;
        return;
    }
    m_target.path = resolve(m_target.path);
    m_replaces = stat(m_target.path.c_str(), &m_replaced) == 0;
    if (m_replaces && S_ISDIR(m_replaced.st_mode)) {
        fail("cannot write", EISDIR);
    }
    if (m_replaces && !S_ISREG(m_replaced.st_mode)) {
        m_descriptor = open(m_target.path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
        if (m_descriptor < 0) {
            fail("cannot open for writing", errno);
        }
        return;
    }
    if (m_replaces && !m_target.mayReplace) {
        throw CommandError(kExitOutput, printable(m_target.path) + ": exists already; --force replaces it");
    }
    createTemporary();
}

OutputFile::~OutputFile() { discard(); }

void OutputFile::createTemporary() {
    const size_t slash = m_target.path.rfind('/');
    m_folder = slash == std::string::npos ? "." : m_target.path.substr(0, slash + 1);
    std::string name = (slash == std::string::npos ? "" : m_folder) + ".zucharset-XXXXXX";

    const SignalPause pause;
    m_descriptor = mkostemp(name.data(), O_CLOEXEC);
    if (m_descriptor < 0) {
        fail("cannot create a file in its folder", errno);
    }
    m_temporary = std::move(name);
    setTemporaryOnRecord(m_temporary);
}

void OutputFile::write(Bytes bytes) {
    if (!writeAll(m_descriptor, bytes)) {
        fail("cannot write at offset " + std::to_string(m_offset), errno);
    }
    m_offset += bytes.size();
}

void OutputFile::commit() {
    if (m_temporary.empty()) {
        const int descriptor = std::exchange(m_descriptor, -1);
        if (descriptor != STDOUT_FILENO && close(descriptor) != 0) {
            fail("cannot finish writing", errno);
        }
        return;
    }
    keepAttributes();
    // The data must be safe before the name points at it, or a power cut could leave an empty file under the name.
    if (fsync(m_descriptor) != 0 || close(std::exchange(m_descriptor, -1)) != 0) {
        fail("cannot finish writing", errno);
    }
    const SignalPause pause;
    if (!m_target.backupSuffix.empty()) {
        makeBackup();
    }
    takeName();
    m_temporary.clear();
    setTemporaryOnRecord({});
    if (const int folder = open(m_folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); folder >= 0) {
        // Some file systems cannot sync a folder; the file itself is in place all the same.
        fsync(folder);
        close(folder);
    }
}

void OutputFile::keepAttributes() {
    if (m_replaces) {
        // Only root may give a file away; for everyone else the new file simply belongs to its writer.
        [[maybe_unused]] const int kept = fchown(m_descriptor, m_replaced.st_uid, m_replaced.st_gid);
    }
    const mode_t mode = m_replaces ? m_replaced.st_mode & kPermissionBits : newFileMode();
    // File systems without permissions refuse this, and lose nothing by it.
    [[maybe_unused]] const int kept = fchmod(m_descriptor, mode);
}

void OutputFile::makeBackup() {
    const std::string base = m_target.path + m_target.backupSuffix;
    std::string name = base;
    for (int number = 1; number < INT_MAX; ++number) {
        // A link leaves the original under its own name until the new file takes it.
        if (link(m_target.path.c_str(), name.c_str()) == 0) {
            m_backupPath = name;
            return;
        }
        int error = errno;
        if (error == EPERM || error == EOPNOTSUPP || error == EMLINK) {
            // No hard links here: move the original aside instead.
            error = renameToFreeName(m_target.path, name);
        }
        if (error == 0) {
            m_backupPath = name;
            return;
        }
        if (error != EEXIST) {
            fail("cannot keep a backup as " + printable(name), error);
        }
        name = base + "." + std::to_string(number);
    }
    fail("cannot find a free backup name", EEXIST);
}

void OutputFile::takeName() {
    if (!m_target.mayReplace) {
        // The name was free when we looked; a file that has come into being since is not ours to replace.
        if (const int error = renameToFreeName(m_temporary, m_target.path); error != 0) {
            fail("cannot take its name", error);
        }
        return;
    }
    if (rename(m_temporary.c_str(), m_target.path.c_str()) == 0) {
        return;
    }
    const int error = errno;
    if (!m_backupPath.empty()) {
        // Where the original was moved aside for the backup it goes back; where it was linked its name is taken.
        [[maybe_unused]] const int restored = renameToFreeName(m_backupPath, m_target.path);
    }
    fail("cannot replace", error);
}

void OutputFile::discard() {
    if (m_descriptor >= 0 && m_descriptor != STDOUT_FILENO) {
        close(m_descriptor);
    }
    m_descriptor = -1;
    if (m_temporary.empty()) {
        return;
    }
    const SignalPause pause;
    unlink(m_temporary.c_str());
    setTemporaryOnRecord({});
    m_temporary.clear();
}

void OutputFile::fail(const std::string &action, int errorNumber) const {
    const std::string name = m_target.path == "-" ? "standard output" : printable(m_target.path);
    throw CommandError(kExitOutput, systemMessage(name + ": " + action, errorNumber));
}

} // namespace zucli
