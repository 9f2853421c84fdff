#pragma once

#include "bytes.h"
#include "temporary_file.h"

#include <cstdint>
#include <string>
#include <sys/stat.h>

namespace zucli {

// Writes everything to a descriptor; false, with errno set, when that fails.
bool writeAll(int descriptor, Bytes bytes);

// How a file takes its place under its name.
struct OutputTarget {
    std::string path; // "-" is standard output; links are resolved
    bool mayReplace = false;
    bool inPlace = false;          // it replaces the input
    std::string backupSuffix = {}; // not empty: the file under that name is kept under a backup name
};

// A file that appears under its name whole, or not at all: a Committer gives finished files their names. Devices, pipes
// and standard output cannot be replaced and are written directly. Every problem is a CommandError with kExitOutput.
class OutputFile {
  public:
    // In place, `input` tells in which state the input was read: nothing else is replaced.
    OutputFile(OutputTarget target, const struct stat &input);
    ~OutputFile(); // without a name: nothing remains
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;

    void write(Bytes bytes);
    // All is written. The file gets its attributes and starts on its way to the disk.
    void finish();

    // Does it wait for its name? Not so where bytes went out directly.
    [[nodiscard]] bool isTemporary() const { return m_temporary.exists(); }

    // Where the previous content is kept; empty when no backup was asked for.
    [[nodiscard]] const std::string &backupPath() const { return m_backupPath; }

  private:
    friend class Committer;

    void keepAttributes();
    // The steps of the Committer, in their order.
    void keepOriginal();
    void nameBackupCopy();
    void takeName();
    void dropBackup();

    void copyOriginal();
    void checkUnchanged() const;
    [[nodiscard]] bool isBackup(const std::string &path) const;
    template <class Take> std::string takeFreeBackupName(Take take) const;
    [[noreturn]] void fail(const std::string &action, int errorNumber) const;

    OutputTarget m_target;
    TemporaryFile m_temporary;
    TemporaryFile m_backupCopy; // where the original cannot have a second name
    std::string m_backupPath;
    bool m_ownBackup = false; // did this run make it?
    int m_direct = -1;        // written without a temporary file
    uint64_t m_offset = 0;
    bool m_replaces = false;
    struct stat m_replaced = {};
    struct stat m_written = {};
};

} // namespace zucli
