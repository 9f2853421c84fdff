#include "recording_utils.h"

#include <cerrno>
#include <cstdio>
#include <utility>

namespace {
thread_local recording::Lines lines;
thread_local bool areKept = true;
thread_local uint32_t failingCopies = 0;
thread_local std::string awaitedText;
thread_local std::function<void()> awaitingAction;
} // namespace

namespace recording {

Lines takeWhole() { return std::exchange(lines, {}); }

Lines takeLines(const std::string &file) {
    Lines taken = takeWhole();
    for (std::string &line : taken) {
        if (line.find("[" + file) != std::string::npos)
            line = line.substr(line.find('/') + 1, 2) + line.substr(line.find("] ") + 2);
    }
    return taken;
}

void keepLines(bool kept) { areKept = kept; }

void onLine(const std::string &text, std::function<void()> action) {
    awaitedText = text;
    awaitingAction = std::move(action);
}

void failCopies(uint32_t calls) { failingCopies = calls; }

} // namespace recording

extern "C" {

// The stand-in's, renamed.
int copyBlock(void *destination, size_t capacity, const void *source, size_t count);
int formatBounded(char *destination, size_t capacity, size_t count, const char *format, va_list args);

int32_t SVR_LOG_Write(const char *tag, int32_t level, const char *format, ...) {
    if (!areKept)
        return -1;
    char text[4096];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    lines.push_back(std::string(tag) + "/" + std::to_string(level) + " " + text);
    if (awaitingAction && lines.back().find(awaitedText) != std::string::npos)
        std::exchange(awaitingAction, nullptr)();
    return -1; // which must not matter
}

int memcpy_s(void *destination, size_t capacity, const void *source, size_t count) {
    const bool fails = (failingCopies & 1u) != 0;
    failingCopies >>= 1;
    return fails ? EINVAL : copyBlock(destination, capacity, source, count);
}

// One that does not end what it cuts off.
int vsnprintf_s(char *destination, size_t capacity, size_t count, const char *format, va_list args) {
    const int length = formatBounded(destination, capacity, count, format, args);
    if (length < 0)
        destination[count] = '?';
    return length;
}

} // extern "C"
