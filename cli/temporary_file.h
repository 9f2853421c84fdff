#pragma once

#include "interrupts.h"

#include <string>

namespace zucli {

// The folder of a path, with the '/' at its end; "./" for a mere name.
std::string folderOf(const std::string &path);

// A file under construction: ".zucharset-XXXXXX.part" beside the file that it is to become. It is locked as long as
// this process lives; the kernel lets go of the lock however the process ends. So such a file that belongs to this user
// and is not locked was left behind by a process that is gone, and the next file made in its folder removes it. A
// process number in the name would not do: it means nothing in another container or on another machine that shares the
// folder.
class TemporaryFile {
  public:
    TemporaryFile() = default;
    ~TemporaryFile() { discard(); }
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;

    // Makes the file; gives 0 or an errno value.
    int create(const std::string &folder);

    // Gives the file its final name; gives 0 or an errno value. Without `mayReplace` the name must be free.
    int takeName(const NameLock &lock, const std::string &path, bool mayReplace);

    void closeDescriptor();
    void discard();

    [[nodiscard]] bool exists() const { return !m_path.empty(); }
    [[nodiscard]] int descriptor() const { return m_descriptor; }

  private:
    std::string m_path;
    int m_descriptor = -1;
};

// Renames unless there is a file under the new name; gives 0 or an errno value.
int renameToFreeName(const std::string &from, const std::string &to);

} // namespace zucli
