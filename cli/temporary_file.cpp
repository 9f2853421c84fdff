#include "temporary_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <set>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace zucli {

namespace {

constexpr std::string_view kStart = ".zucharset-";
constexpr std::string_view kRandom = "XXXXXX";
constexpr std::string_view kEnd = ".part";

bool isTemporaryName(std::string_view name) {
    return name.size() == kStart.size() + kRandom.size() + kEnd.size() && name.starts_with(kStart) &&
           name.ends_with(kEnd);
}

// Is the open file the one under this name still, and a file of ours with no other name?
bool isOwnFile(int descriptor, int folder, const char *name) {
    struct stat opened = {};
    struct stat named = {};
    return fstat(descriptor, &opened) == 0 && fstatat(folder, name, &named, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISREG(named.st_mode) && opened.st_dev == named.st_dev && opened.st_ino == named.st_ino &&
           opened.st_nlink == 1 && opened.st_uid == geteuid();
}

void removeIfDead(int folder, const char *name) {
    const int descriptor = openat(folder, name, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (descriptor < 0) {
        return;
    }
    if (isOwnFile(descriptor, folder, name) && flock(descriptor, LOCK_EX | LOCK_NB) == 0) {
        unlinkat(folder, name, 0);
    }
    close(descriptor);
}

// Once for each folder in the life of the process.
void removeDeadFiles(const NameLock & /*held*/, const std::string &folder) {
    static std::set<std::string> cleaned;
    if (!cleaned.insert(folder).second) {
        return;
    }
    DIR *listing = opendir(folder.c_str());
    if (listing == nullptr) {
        return; // creating a file there will say why
    }
    while (const dirent *entry = readdir(listing)) {
        if (isTemporaryName(entry->d_name)) {
            removeIfDead(dirfd(listing), entry->d_name);
        }
    }
    closedir(listing);
}

} // namespace

std::string folderOf(const std::string &path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

int TemporaryFile::create(const std::string &folder) {
    const NameLock lock;
    removeDeadFiles(lock, folder);
    for (;;) {
        std::string name = folder;
        name.append(kStart).append(kRandom).append(kEnd);
        m_descriptor = mkostemps(name.data(), static_cast<int>(kEnd.size()), O_CLOEXEC);
        if (m_descriptor < 0) {
            return errno;
        }
        // Another process may find the file in the moment before it is locked, and take it for a dead one.
        const bool locked = flock(m_descriptor, LOCK_EX | LOCK_NB) == 0;
        struct stat status = {};
        if (fstat(m_descriptor, &status) == 0 && status.st_nlink > 0 && (locked || errno != EWOULDBLOCK)) {
            m_path = std::move(name);
            putOnRecord(lock, m_path);
            return 0;
        }
        unlink(name.c_str());
        closeDescriptor();
    }
}

int TemporaryFile::takeName(const NameLock &lock, const std::string &path, bool mayReplace) {
    int error = 0;
    if (!mayReplace) {
        error = renameToFreeName(m_path, path);
    } else if (rename(m_path.c_str(), path.c_str()) != 0) {
        error = errno;
    }
    if (error == 0) {
        takeOffRecord(lock, m_path);
        m_path.clear();
        closeDescriptor();
    }
    return error;
}

void TemporaryFile::closeDescriptor() {
    if (m_descriptor >= 0) {
        close(std::exchange(m_descriptor, -1));
    }
}

void TemporaryFile::discard() {
    if (exists()) {
        const NameLock lock;
        unlink(m_path.c_str());
        takeOffRecord(lock, m_path);
        m_path.clear();
    }
    closeDescriptor();
}

int renameToFreeName(const std::string &from, const std::string &to) {
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return errno;
    }
    // Some file systems do not know this kind of rename; a link has the same effect, where there are links.
    if (link(from.c_str(), to.c_str()) == 0) {
        return unlink(from.c_str()) == 0 ? 0 : errno;
    }
    if (errno == EEXIST) {
        return EEXIST;
    }
    // Looking first is the next best thing.
    struct stat status = {};
    if (lstat(to.c_str(), &status) == 0) {
        return EEXIST;
    }
    return rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

} // namespace zucli
