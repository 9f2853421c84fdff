#include "progress.h"

#include "output_file.h"

#include <algorithm>
#include <string>
#include <unistd.h>

namespace zucli {

namespace {

constexpr std::chrono::milliseconds kDelay{500};
constexpr std::chrono::milliseconds kInterval{100};
constexpr uint64_t kBarWidth = 30;

void writeError(const std::string &text) {
    // A display that cannot be shown is no reason to stop.
    [[maybe_unused]] const bool written =
        writeAll(STDERR_FILENO, Bytes(reinterpret_cast<const uint8_t *>(text.data()), text.size()));
}

} // namespace

Progress::Progress(bool wanted, size_t files, uint64_t bytes)
    : m_enabled(wanted && isatty(STDERR_FILENO) == 1), m_files(files), m_bytes(bytes),
      m_nextShow(Clock::now() + kDelay) {}

void Progress::update() {
    if (m_enabled && Clock::now() >= m_nextShow) {
        show();
        m_nextShow = Clock::now() + kInterval;
    }
}

void Progress::show() {
    std::string line = "\r\033[K";
    if (m_bytes > 0) {
        const uint64_t done = std::min(m_bytesDone.load(), m_bytes);
        const auto filled = static_cast<size_t>(static_cast<double>(done) / static_cast<double>(m_bytes) * kBarWidth);
        line += "[" + std::string(filled, '#') + std::string(kBarWidth - filled, '.') + "] ";
    }
    line += std::to_string(m_filesDone.load()) + " of " + std::to_string(m_files) + " files, " +
            std::to_string(m_bytesDone.load() / 1024) + " KiB";
    writeError(line);
    m_shown = true;
}

void Progress::clear() {
    if (m_shown) {
        writeError("\r\033[K");
        m_shown = false;
    }
}

} // namespace zucli
