#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace zucli {

// The exit codes, also printed by --help. With several files the highest one counts.
enum ExitCode : int {
    kExitOk = 0,
    kExitTextLost = 1,
    kExitUsage = 2,
    kExitInput = 3,
    kExitOutput = 4,
    kExitRefused = 5,
    kExitInternal = 6,
};

// A problem to tell the user about; what() is complete and names the file.
class CommandError : public std::runtime_error {
  public:
    CommandError(ExitCode exitCode, const std::string &message) : std::runtime_error(message), m_exitCode(exitCode) {}
    [[nodiscard]] ExitCode exitCode() const { return m_exitCode; }

  private:
    ExitCode m_exitCode;
};

// "action: reason; remedy" for an errno value.
std::string systemMessage(std::string_view action, int errorNumber);

} // namespace zucli
