// The host's utility library and what little of a system the libraries ask for, inside a WebAssembly module: log lines
// go to the JavaScript around it. A module without files and clocks needs nothing else from outside.
#include "vemora_utils.h"

#include <stdio.h>
#include <sys/time.h>
#include <time.h>

/** Takes a log line. */
__attribute__((import_module("host"), import_name("log"))) void host_log(int32_t level, const char *line,
                                                                         uint32_t length);

static int32_t keptLevel;

/** Sets up to which level lines are handed out; 0, the beginning, keeps them all in. */
__attribute__((export_name("zutext_web_log_level"))) void zutext_web_log_level(int32_t level) { keptLevel = level; }

int32_t SVR_LOG_Write(const char *pszTag, int32_t s32Level, const char *pszFormat, ...) {
    (void)pszTag;
    if (s32Level > keptLevel)
        return 0;
    char line[2304];
    va_list arguments;
    va_start(arguments, pszFormat);
    const int length = vsnprintf(line, sizeof line, pszFormat, arguments);
    va_end(arguments);
    if (length >= 0)
        host_log(s32Level, line, (uint32_t)length < sizeof line ? (uint32_t)length : (uint32_t)sizeof line - 1);
    return 0;
}

/** The library stamps its lines with the local time where there is one. Here the receiver knows the time. */
struct tm *localtime_r(const time_t *restrict timer, struct tm *restrict result) {
    (void)timer;
    (void)result;
    return NULL;
}

int gettimeofday(struct timeval *restrict now, void *restrict zone) {
    (void)zone;
    *now = (struct timeval){0};
    return 0;
}

int fflush(FILE *stream) {
    (void)stream;
    return 0;
}
