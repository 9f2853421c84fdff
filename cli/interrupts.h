#pragma once

#include <mutex>
#include <string>

namespace zucli {

// From here on SIGINT, SIGTERM and SIGHUP remove the files on record and end the process with 128 plus the signal
// number. A closed pipe or a file size limit is a write error instead of a signal. Call it before the first thread.
void installSignalHandling();

// Held while files change their names: a signal waits until it is released, so that what is on record is always true.
class NameLock {
  public:
    NameLock();

  private:
    std::lock_guard<std::mutex> m_guard;
};

// The files that an interrupt must remove.
void putOnRecord(const NameLock &lock, const std::string &path);
void takeOffRecord(const NameLock &lock, const std::string &path);

// Whoever reads standard output has gone: ends the process silently by SIGPIPE, as other commands end. Comes back only
// where the parent had this signal ignored; then the failed write is an error like any other.
void endByClosedPipe();

} // namespace zucli
