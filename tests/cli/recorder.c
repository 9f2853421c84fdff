/* Loaded before the C library: notes the calls by which a command makes files safe and names them, in their order.
 *
 * RECORD          file to note them in
 * RECORD_SIGNAL   "7 9": the process gets signal 9 instead of its 7th such call; "7 19" stops it before the call
 * RECORD_NO_LINKS file systems without hard links
 * RECORD_EIO      the 1st sync of a file whose content holds this text fails
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#define REAL(name) ((__typeof__(&name))dlsym(RTLD_NEXT, #name))

static void note(const char *call, const char *first, const char *second) {
    static int count;
    const char *path = getenv("RECORD");
    const char *when = getenv("RECORD_SIGNAL");
    int number = 0, signal_number = 0;
    ++count;
    if (path != NULL) {
        char line[9000];
        int file = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        int length = snprintf(line, sizeof line, "%s %s %s\n", call, first, second);
        if (write(file, line, (size_t)length) != length)
            abort();
        close(file);
    }
    if (when != NULL && sscanf(when, "%d %d", &number, &signal_number) == 2 && number == count) {
        kill(getpid(), signal_number);
        if (signal_number != SIGSTOP)
            pause(); /* until another thread has dealt with it */
    }
}

/* Is it the file whose sync is to fail? */
static int fails(int file) {
    const char *marked = getenv("RECORD_EIO");
    char content[4096] = "";
    return marked != NULL && pread(file, content, sizeof content - 1, 0) > 0 && strstr(content, marked) != NULL;
}

int fsync(int file) {
    note("fsync", "", "");
    if (fails(file)) {
        errno = EIO;
        return -1;
    }
    return REAL(fsync)(file);
}

int syncfs(int file) {
    note("syncfs", "", "");
    return REAL(syncfs)(file);
}

int sync_file_range(int file, off64_t offset, off64_t length, unsigned flags) {
    if ((flags & SYNC_FILE_RANGE_WAIT_AFTER) && fails(file)) {
        errno = EIO;
        return -1;
    }
    return REAL(sync_file_range)(file, offset, length, flags);
}

int link(const char *from, const char *to) {
    note("link", from, to);
    if (getenv("RECORD_NO_LINKS") != NULL) {
        errno = EPERM;
        return -1;
    }
    return REAL(link)(from, to);
}

int rename(const char *from, const char *to) {
    note("rename", from, to);
    return REAL(rename)(from, to);
}

int renameat2(int from_folder, const char *from, int to_folder, const char *to, unsigned flags) {
    note("rename", from, to);
    return REAL(renameat2)(from_folder, from, to_folder, to, flags);
}
