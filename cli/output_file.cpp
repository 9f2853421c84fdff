#include "output_file.h"

#include "errors.h"
#include "report.h"

#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace zucli {

namespace {

constexpr mode_t kPermissionBits = 07777;
constexpr mode_t kNewFileMode = 0666;

mode_t newFileMode() {
    // The mask can only be read by setting it, so it is read once. Temporary files do not depend on it.
    static const mode_t mask = [] {
        const mode_t current = umask(0);
        umask(current);
        return current;
    }();
    return kNewFileMode & ~mask;
}

bool isSameFile(const struct stat &a, const struct stat &b) { return a.st_dev == b.st_dev && a.st_ino == b.st_ino; }

bool isSameState(const struct stat &a, const struct stat &b) {
    return isSameFile(a, b) && a.st_size == b.st_size && a.st_mtim.tv_sec == b.st_mtim.tv_sec &&
           a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

// Only root may give a file away; for everyone else the new file simply belongs to its writer. File systems without
// permissions refuse to set them, and lose nothing by it.
void setOwnerAndMode(int descriptor, const struct stat &like) {
    [[maybe_unused]] const int owner = fchown(descriptor, like.st_uid, like.st_gid);
    [[maybe_unused]] const int mode = fchmod(descriptor, like.st_mode & kPermissionBits);
}

int copyContent(int from, int to) {
    std::array<uint8_t, size_t{64} * 1024> buffer = {};
    for (;;) {
        const ssize_t count = read(from, buffer.data(), buffer.size());
        if (count == 0) {
            return 0;
        }
        if (count < 0 && errno != EINTR) {
            return errno;
        }
        if (count > 0 && !writeAll(to, Bytes(buffer).first(static_cast<size_t>(count)))) {
            return errno;
        }
    }
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

OutputFile::OutputFile(OutputTarget target, const struct stat &input) : m_target(std::move(target)) {
    if (m_target.path == "-") {
        m_direct = STDOUT_FILENO;
        return;
    }
    m_replaces = stat(m_target.path.c_str(), &m_replaced) == 0;
    if (m_replaces && !S_ISREG(m_replaced.st_mode)) {
        m_direct = open(m_target.path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
        if (m_direct < 0) {
            fail("cannot open for writing", errno);
        }
        return;
    }
    if (m_target.inPlace) {
        m_replaced = input;
    }
    if (const int error = m_temporary.create(folderOf(m_target.path)); error != 0) {
        fail("cannot create a file in its folder", error);
    }
}

OutputFile::~OutputFile() {
    if (m_direct >= 0 && m_direct != STDOUT_FILENO) {
        close(m_direct);
    }
    if (m_temporary.exists()) {
        dropBackup();
    }
}

void OutputFile::write(Bytes bytes) {
    if (!writeAll(isTemporary() ? m_temporary.descriptor() : m_direct, bytes)) {
        const int error = errno;
        if (m_direct == STDOUT_FILENO && error == EPIPE) {
            endByClosedPipe();
        }
        fail("cannot write at offset " + std::to_string(m_offset), error);
    }
    m_offset += bytes.size();
}

void OutputFile::finish() {
    if (!isTemporary()) {
        const int descriptor = std::exchange(m_direct, -1);
        if (descriptor != STDOUT_FILENO && close(descriptor) != 0) {
            fail("cannot finish writing", errno);
        }
        return;
    }
    const int descriptor = m_temporary.descriptor();
    if (m_replaces) {
        setOwnerAndMode(descriptor, m_replaced);
    } else {
        [[maybe_unused]] const int mode = fchmod(descriptor, newFileMode());
    }
    // Only a beginning, which saves time later; what comes of it shows when the file is synced.
    sync_file_range(descriptor, 0, 0, SYNC_FILE_RANGE_WRITE);
    if (fstat(descriptor, &m_written) != 0) {
        fail("cannot finish writing", errno);
    }
}

bool OutputFile::isBackup(const std::string &path) const {
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0 && isSameFile(status, m_replaced);
}

// Tries name.orig, name.orig.1 and so on; `take` gives 0 or an errno value, EEXIST to try the next.
template <class Take> std::string OutputFile::takeFreeBackupName(Take take) const {
    const std::string base = m_target.path + m_target.backupSuffix;
    std::string name = base;
    for (int number = 1; number < INT_MAX; ++number) {
        const int error = take(name);
        if (error == 0) {
            return name;
        }
        if (error != EEXIST) {
            fail("cannot keep a backup as " + printable(name), error);
        }
        name = base + "." + std::to_string(number);
    }
    fail("cannot find a free backup name", EEXIST);
}

// A second name for the original, which keeps its own until the new file takes it. Where there are no second names it
// is copied.
void OutputFile::keepOriginal() {
    if (m_target.backupSuffix.empty()) {
        return;
    }
    checkUnchanged();
    bool copy = false;
    const std::string name = takeFreeBackupName([this, &copy](const std::string &path) {
        const NameLock lock;
        if (link(m_target.path.c_str(), path.c_str()) == 0) {
            putOnRecord(lock, path);
            m_ownBackup = true;
            return 0;
        }
        if (errno == EEXIST && isBackup(path)) {
            return 0; // left by a run that was killed between two steps
        }
        copy = errno == EPERM || errno == EOPNOTSUPP || errno == EMLINK || errno == ENOSYS;
        return copy ? 0 : errno;
    });
    if (copy) {
        copyOriginal();
    } else {
        m_backupPath = name;
    }
}

void OutputFile::copyOriginal() {
    int error = m_backupCopy.create(folderOf(m_target.path));
    const int original = open(m_target.path.c_str(), O_RDONLY | O_CLOEXEC);
    if (error == 0) {
        error = original < 0 ? errno : copyContent(original, m_backupCopy.descriptor());
    }
    if (original >= 0) {
        close(original);
    }
    if (error != 0) {
        fail("cannot keep a backup", error);
    }
    setOwnerAndMode(m_backupCopy.descriptor(), m_replaced);
    const std::array<struct timespec, 2> times = {m_replaced.st_atim, m_replaced.st_mtim};
    futimens(m_backupCopy.descriptor(), times.data());
}

void OutputFile::nameBackupCopy() {
    m_backupPath = takeFreeBackupName([this](const std::string &path) {
        const NameLock lock;
        const int error = m_backupCopy.takeName(lock, path, false);
        m_ownBackup = error == 0;
        return error;
    });
}

void OutputFile::checkUnchanged() const {
    struct stat status = {};
    if (m_target.inPlace && (stat(m_target.path.c_str(), &status) != 0 || !isSameState(status, m_replaced))) {
        throw CommandError(kExitOutput, printable(m_target.path) +
                                            ": changed while it was converted; try again when nothing writes to it");
    }
}

void OutputFile::takeName() {
    checkUnchanged();
    const NameLock lock;
    // A name that was free when we looked may have been taken since; that file is not ours to replace.
    if (const int error = m_temporary.takeName(lock, m_target.path, m_target.mayReplace); error == EEXIST) {
        throw CommandError(kExitOutput,
                           printable(m_target.path) + ": has come into being meanwhile; --force replaces it");
    } else if (error != 0) {
        fail(m_replaces ? "cannot replace" : "cannot take its name", error);
    }
    takeOffRecord(lock, m_backupPath);
}

// The original still stands under its own name.
void OutputFile::dropBackup() {
    if (m_ownBackup) {
        const NameLock lock;
        unlink(m_backupPath.c_str());
        takeOffRecord(lock, m_backupPath);
        m_ownBackup = false;
    }
    m_backupPath.clear();
}

void OutputFile::fail(const std::string &action, int errorNumber) const {
    const std::string name = m_target.path == "-" ? "standard output" : printable(m_target.path);
    throw CommandError(kExitOutput, systemMessage(name + ": " + action, errorNumber));
}

} // namespace zucli
