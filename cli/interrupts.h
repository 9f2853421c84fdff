#pragma once

#include <csignal>
#include <string>

namespace zucli {

// From here on SIGINT, SIGTERM and SIGHUP remove the temporary file on record and end the process with 128 plus the
// signal number, and a closed pipe or a file size limit is a write error instead of a signal.
void installSignalHandling();

// Keeps those signals waiting while files change their names.
class SignalPause {
  public:
    SignalPause();
    ~SignalPause();
    SignalPause(const SignalPause &) = delete;
    SignalPause &operator=(const SignalPause &) = delete;

  private:
    sigset_t m_previous = {};
};

// The temporary file that an interrupt must remove; empty when there is none. Call it under a SignalPause.
void setTemporaryOnRecord(const std::string &path);

} // namespace zucli
