#include "disk_sync.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <map>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace zucli {

namespace {

// File systems on this machine, whose syncfs() comes back when everything is on the disk. Others - network, FUSE -
// may only have passed it on by then, and are asked file by file.
constexpr std::array<uint32_t, 9> kWholeSync = {
    0xEF53,     // ext2, ext3, ext4
    0x58465342, // XFS
    0x9123683E, // Btrfs
    0xF2F52010, // F2FS
    0x4D44,     // FAT
    0x2011BAB0, // exFAT
    0x01021994, // tmpfs
    0x794C7630, // overlay
    0x24051905, // UBIFS
};

bool syncsAsAWhole(int descriptor) {
    struct statfs status = {};
    return fstatfs(descriptor, &status) == 0 &&
           std::ranges::find(kWholeSync, static_cast<uint32_t>(status.f_type)) != kWholeSync.end();
}

// The descriptors by the device that they are on.
std::map<dev_t, std::vector<size_t>> byDevice(std::span<const int> descriptors) {
    std::map<dev_t, std::vector<size_t>> devices;
    for (size_t i = 0; i < descriptors.size(); ++i) {
        struct stat status = {};
        fstat(descriptors[i], &status);
        devices[status.st_dev].push_back(i);
    }
    return devices;
}

int syncOne(int descriptor) { return fsync(descriptor) == 0 ? 0 : errno; }

// What writing the content of a file has come to. Kernels before 5.8 do not tell of failed writes when a whole file
// system is synced, but each file knows, and tells once.
int failureOf(int descriptor) {
    constexpr unsigned kWait = SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE | SYNC_FILE_RANGE_WAIT_AFTER;
    if (sync_file_range(descriptor, 0, 0, kWait) == 0) {
        return 0;
    }
    const bool unknownHere = errno == ENOSYS || errno == EINVAL || errno == ESPIPE;
    return unknownHere ? syncOne(descriptor) : errno;
}

} // namespace

std::vector<int> syncFiles(std::span<const int> descriptors) {
    std::vector<int> errors(descriptors.size(), 0);
    for (const auto &[device, indices] : byDevice(descriptors)) {
        const int first = descriptors[indices.front()];
        const bool together = indices.size() > 1 && syncsAsAWhole(first) && syncfs(first) == 0;
        for (const size_t i : indices) {
            errors[i] = together ? failureOf(descriptors[i]) : syncOne(descriptors[i]);
        }
    }
    return errors;
}

void syncFolders(const std::set<std::string> &folders) {
    std::set<dev_t> done;
    for (const std::string &folder : folders) {
        const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (descriptor < 0) {
            continue;
        }
        struct stat status = {};
        fstat(descriptor, &status);
        if (!done.contains(status.st_dev)) {
            if (folders.size() > 1 && syncsAsAWhole(descriptor)) {
                syncfs(descriptor);
                done.insert(status.st_dev);
            } else {
                fsync(descriptor);
            }
        }
        close(descriptor);
    }
}

} // namespace zucli
