// The host's utility library and what little of a system the libraries ask for, inside a WebAssembly module: log lines
// go to the JavaScript around it. A module without files and clocks needs nothing else from outside.
#include "vemora_utils.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <wasi/api.h>

extern "C" {

/** Takes a log line. */
__attribute__((import_module("host"), import_name("log"))) void host_log(int32_t level, const char *line,
                                                                         uint32_t length);

static int32_t keptLevel = 0;

/** Sets up to which level lines are handed out; 0, the beginning, keeps them all in. */
__attribute__((export_name("zutext_web_log_level"))) void zutext_web_log_level(int32_t level) { keptLevel = level; }

int32_t SVR_LOG_Write(const char *, int32_t s32Level, const char *pszFormat, ...) {
    if (s32Level > keptLevel)
        return 0;
    char line[2304];
    va_list arguments;
    va_start(arguments, pszFormat);
    const int length = std::vsnprintf(line, sizeof line, pszFormat, arguments);
    va_end(arguments);
    if (length >= 0)
        host_log(s32Level, line, std::min(static_cast<uint32_t>(length), uint32_t{sizeof line - 1}));
    return 0;
}

/** The library stamps its lines with the local time where there is one. Here the receiver knows the time. */
struct tm *localtime_r(const time_t *__restrict, struct tm *__restrict) {
    return nullptr;
}

// The system calls of the C library's that a browser does not have. Without these the linker would ask whoever loads
// the module for them.
#define SYSTEM_CALL(name, ...)                                                                                         \
    int32_t __imported_wasi_snapshot_preview1_##name(__VA_ARGS__) { return __WASI_ERRNO_NOSYS; }

SYSTEM_CALL(clock_time_get, int32_t, int64_t, int32_t)
SYSTEM_CALL(fd_close, int32_t)
SYSTEM_CALL(fd_fdstat_get, int32_t, int32_t)
SYSTEM_CALL(fd_seek, int32_t, int64_t, int32_t, int32_t)
SYSTEM_CALL(fd_write, int32_t, int32_t, int32_t, int32_t)
SYSTEM_CALL(sched_yield, void)

} // extern "C"
