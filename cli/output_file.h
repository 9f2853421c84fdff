#pragma once

#include "charset_host.h"

#include <cstdint>
#include <string>
#include <sys/stat.h>

namespace zucli {

// Writes everything to a descriptor; false, with errno set, when that fails.
bool writeAll(int descriptor, Bytes bytes);

// How a file takes its place under its name.
struct OutputTarget {
    std::string path; // "-" is standard output
    bool mayReplace = false;
    std::string backupSuffix; // not empty: the file under that name is kept under a backup name
};

// A file that appears under its name whole, in commit(), or not at all. Devices, pipes and standard output cannot be
// replaced and are written directly. Every problem is a CommandError with kExitOutput.
class OutputFile {
  public:
    explicit OutputFile(OutputTarget target);
    ~OutputFile(); // without commit(): nothing remains
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;

    void write(Bytes bytes);
    void commit();

    // Will nothing remain without commit()? Not so where bytes go out directly.
    [[nodiscard]] bool canDiscard() const { return !m_temporary.empty(); }

    // Where commit() put the previous content; empty when no backup was asked for.
    [[nodiscard]] const std::string &backupPath() const { return m_backupPath; }

  private:
    void createTemporary();
    void keepAttributes();
    void makeBackup();
    void takeName();
    void discard();
    [[noreturn]] void fail(const std::string &action, int errorNumber) const;

    OutputTarget m_target;
    std::string m_folder;
    std::string m_temporary; // empty while writing directly or once committed
    std::string m_backupPath;
    int m_descriptor = -1;
    uint64_t m_offset = 0;
    bool m_replaces = false;
    struct stat m_replaced = {};
};

} // namespace zucli
