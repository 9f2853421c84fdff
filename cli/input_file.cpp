#include "input_file.h"

#include "errors.h"
#include "report.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace zucli {

InputFile::InputFile(const std::string &path) : m_path(path) {
    m_descriptor = path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    if (m_descriptor < 0 || fstat(m_descriptor, &m_status) != 0) {
        throw CommandError(kExitInput, systemMessage(printable(path) + ": cannot open", errno));
    }
    if (S_ISDIR(m_status.st_mode)) {
        // The destructor does not run when a constructor throws.
        close(m_descriptor);
        throw CommandError(kExitInput, printable(path) + ": is a folder; use --recursive to take the files in it");
    }
}

InputFile::~InputFile() {
    if (m_descriptor != STDIN_FILENO) {
        close(m_descriptor);
    }
}

Bytes InputFile::peek(size_t size) {
    constexpr size_t kStep = size_t{64} * 1024;
    m_pending.erase(m_pending.begin(), m_pending.begin() + static_cast<std::ptrdiff_t>(m_pendingStart));
    m_pendingStart = 0;
    while (m_pending.size() < size && !m_atEnd) {
        const size_t have = m_pending.size();
        // Growing step by step keeps a large sample size from costing memory for a small file.
        m_pending.resize(std::min(size, have + kStep));
        m_pending.resize(have + readFile(m_pending.data() + have, m_pending.size() - have));
    }
    return Bytes(m_pending).first(std::min(size, m_pending.size()));
}

size_t InputFile::read(uint8_t *destination, size_t size) {
    const size_t pending = m_pending.size() - m_pendingStart;
    if (pending == 0) {
        return readFile(destination, size);
    }
    const size_t count = std::min(pending, size);
    std::copy_n(m_pending.begin() + static_cast<std::ptrdiff_t>(m_pendingStart), count, destination);
    m_pendingStart += count;
    return count;
}

size_t InputFile::readFile(uint8_t *destination, size_t size) {
    if (m_atEnd) {
        return 0;
    }
    ssize_t count = -1;
    do {
        count = ::read(m_descriptor, destination, size);
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        const int error = errno;
        throw CommandError(
            kExitInput,
            systemMessage(printable(m_path) + ": cannot read at offset " + std::to_string(m_offset), error));
    }
    m_offset += static_cast<uint64_t>(count);
    if (count > 0) {
        return static_cast<size_t>(count);
    }
    m_atEnd = true;
    const bool startsAtBegin = m_path != "-"; // a shell may hand over standard input in mid-file
    if (startsAtBegin && S_ISREG(m_status.st_mode) && m_offset < static_cast<uint64_t>(m_status.st_size)) {
        throw CommandError(kExitInput, printable(m_path) + ": ended at offset " + std::to_string(m_offset) + " of " +
                                           std::to_string(m_status.st_size) +
                                           ": it was cut short while it was read; try again when it is complete");
    }
    return 0;
}

} // namespace zucli
