#include "interrupts.h"

#include <array>
#include <csignal>
#include <set>
#include <string_view>
#include <thread>
#include <unistd.h>

namespace zucli {

namespace {

constexpr std::array kSignals = {SIGINT, SIGTERM, SIGHUP};
constexpr int kSignalExitBase = 128;

struct Record {
    std::mutex mutex;
    std::set<std::string> paths;
    bool pipeSignalIgnored = false; // by the parent
};

// Never destroyed: the thread that waits for signals may outlive everything else.
Record &record() {
    static auto *instance = new Record;
    return *instance;
}

void say(std::string_view text) {
    // Nothing can be done about a failure to say why the process ends.
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
}

size_t removeFilesOnRecord(const NameLock & /*held*/) {
    const size_t count = record().paths.size();
    for (const std::string &path : record().paths) {
        unlink(path.c_str());
    }
    record().paths.clear();
    return count;
}

bool isIgnored(int signalNumber) {
    struct sigaction action = {};
    sigaction(signalNumber, nullptr, &action);
    return action.sa_handler == SIG_IGN;
}

[[noreturn]] void waitForSignals(sigset_t signals) {
    int signalNumber = 0;
    while (sigwait(&signals, &signalNumber) != 0) {
    }
    const NameLock lock;
    const size_t removed = removeFilesOnRecord(lock);
    say("zucharset: interrupted");
    say(removed == 0 ? "\n" : "; the unfinished output was removed\n");
    _exit(kSignalExitBase + signalNumber);
}

} // namespace

void installSignalHandling() {
    record().pipeSignalIgnored = isIgnored(SIGPIPE);
    // Writing reports both as errors, which say more and clean up.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signalNumber : kSignals) {
        // A parent that had a signal ignored (nohup, a shell's background job) meant it.
        if (!isIgnored(signalNumber)) {
            sigaddset(&signals, signalNumber);
        }
    }
    // Every later thread inherits the mask, so only the one that waits for them sees these signals.
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::thread(waitForSignals, signals).detach();
}

NameLock::NameLock() : m_guard(record().mutex) {}

void putOnRecord(const NameLock & /*held*/, const std::string &path) { record().paths.insert(path); }

void takeOffRecord(const NameLock & /*held*/, const std::string &path) { record().paths.erase(path); }

void endByClosedPipe() {
    if (record().pipeSignalIgnored) {
        return;
    }
    const NameLock lock;
    removeFilesOnRecord(lock);
    std::signal(SIGPIPE, SIG_DFL);
    raise(SIGPIPE);
}

} // namespace zucli
