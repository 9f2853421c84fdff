#pragma once

#include "errors.h"
#include "output_file.h"

#include <optional>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace zucli {

// Gives finished output files their names, a group at a time: first the originals get their backup names, then one
// sync makes the new content and those names safe, then the new files take their names. So whenever the power fails, a
// name points at all of the old content or all of the new, and no new content stands without its backup. That the new
// names are safe is seen to by the sync of the next group, and of finish() for the last.
class Committer {
  public:
    // The most files of a group, so that the open ones stay within what a process may have.
    static size_t groupSize();
    // The bytes of a group: what may wait to be written at once.
    static constexpr uint64_t kGroupBytes = uint64_t{64} * 1024 * 1024;

    // What went wrong with each file, if anything. A file that failed leaves nothing behind once it is destroyed.
    std::vector<std::optional<CommandError>> commit(std::span<OutputFile *const> files);
    void finish();

  private:
    void takeName(OutputFile &file);

    std::set<std::string> m_folders;             // with new names that are not safe yet
    std::set<std::pair<dev_t, ino_t>> m_written; // by this run
};

} // namespace zucli
