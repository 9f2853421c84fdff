#include "interrupts.h"

#include <algorithm>
#include <array>
#include <climits>
#include <string_view>
#include <unistd.h>

namespace zucli {

namespace {

constexpr std::array kSignals = {SIGINT, SIGTERM, SIGHUP};
constexpr int kSignalExitBase = 128;

// Read by the signal handler, which may use nothing that allocates.
std::array<char, PATH_MAX> g_temporary = {};

void say(std::string_view text) {
    // Nothing can be done about a failure to say why the process ends.
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
}

extern "C" void endInterrupted(int signalNumber) {
    say("zucharset: interrupted");
    if (g_temporary[0] != '\0') {
        unlink(g_temporary.data());
        say("; the unfinished output was removed");
    }
    say("\n");
    _exit(kSignalExitBase + signalNumber);
}

sigset_t handledSignals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signalNumber : kSignals) {
        sigaddset(&set, signalNumber);
    }
    return set;
}

} // namespace

void installSignalHandling() {
    // Writing reports both as errors, which say more and clean up.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    struct sigaction action = {};
    action.sa_handler = endInterrupted;
    action.sa_mask = handledSignals();
    for (const int signalNumber : kSignals) {
        struct sigaction previous = {};
        sigaction(signalNumber, nullptr, &previous);
        // A parent that had a signal ignored (nohup, a shell's background job) meant it.
        if (previous.sa_handler != SIG_IGN) {
            sigaction(signalNumber, &action, nullptr);
        }
    }
}

SignalPause::SignalPause() {
    const sigset_t set = handledSignals();
    sigprocmask(SIG_BLOCK, &set, &m_previous);
}

SignalPause::~SignalPause() { sigprocmask(SIG_SETMASK, &m_previous, nullptr); }

void setTemporaryOnRecord(const std::string &path) {
    g_temporary.fill('\0');
    std::copy_n(path.begin(), std::min(path.size(), g_temporary.size() - 1), g_temporary.begin());
}

} // namespace zucli
