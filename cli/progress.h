#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace zucli {

// A line on standard error that shows how far long work has come. Shown only on a terminal, and not before the work
// has taken half a second. Any thread may count; one shows.
class Progress {
  public:
    Progress(bool wanted, size_t files, uint64_t bytes);
    ~Progress() { clear(); }
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    void advance(uint64_t bytes) { m_bytesDone += bytes; }
    void finishFile() { ++m_filesDone; }
    // Renews the line when it is time to.
    void update();
    // Takes the line away, so that something else can be printed.
    void clear();

  private:
    using Clock = std::chrono::steady_clock;
    void show();

    bool m_enabled;
    bool m_shown = false;
    size_t m_files;
    std::atomic<size_t> m_filesDone = 0;
    uint64_t m_bytes;
    std::atomic<uint64_t> m_bytesDone = 0;
    Clock::time_point m_nextShow;
};

} // namespace zucli
