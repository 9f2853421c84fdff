#pragma once

#include "bytes.h"

#include <cstdint>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace zucli {

// A file or standard input, read once from start to end. Every problem is a CommandError with kExitInput.
class InputFile {
  public:
    explicit InputFile(const std::string &path); // "-" is standard input
    ~InputFile();
    InputFile(const InputFile &) = delete;
    InputFile &operator=(const InputFile &) = delete;

    // Up to `size` of the next bytes, left in place for read(). Shorter only at the end of the file.
    Bytes peek(size_t size);

    // Reads what is there, at most `size` bytes; 0 at the end of the file.
    size_t read(uint8_t *destination, size_t size);

    // Has the file been read to its end? Bytes that were only peeked at count as read.
    [[nodiscard]] bool atEnd() const { return m_atEnd; }
    [[nodiscard]] const struct stat &status() const { return m_status; }

  private:
    size_t readFile(uint8_t *destination, size_t size);

    std::string m_path;
    int m_descriptor = -1;
    struct stat m_status = {};
    std::vector<uint8_t> m_pending; // peeked at, not yet read
    size_t m_pendingStart = 0;
    uint64_t m_offset = 0; // in the file, behind the pending bytes
    bool m_atEnd = false;
};

} // namespace zucli
