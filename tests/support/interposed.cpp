// The library's calls of the system library end up here, because the program comes first when names are resolved.
// Built without sanitizers, since malloc runs before they are ready.
#include "recording_utils.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <link.h>
#include <sys/time.h>

static struct {
    std::atomic<void *> address;
    size_t size;
} blocks[64];
static std::atomic<int> unwiped;
static thread_local int mallocsLeft = 0, flushCount = 0;
static thread_local bool timeKnown = true;

extern "C" {

// The next ones in line: a sanitizer's, if there is one, and the system's.
[[gnu::weak]] void *__interceptor_malloc(size_t size) noexcept;
[[gnu::weak]] void __interceptor_free(void *address) noexcept;
void *__libc_malloc(size_t size) noexcept;
void __libc_free(void *address) noexcept;

void *malloc(size_t size) noexcept {
    dl_find_object caller;
    if (_dl_find_object(__builtin_return_address(0), &caller) != 0 ||
        std::strstr(caller.dlfo_link_map->l_name, "libzucharset.so") == nullptr)
        return (__interceptor_malloc != nullptr ? __interceptor_malloc : __libc_malloc)(size);
    if (mallocsLeft > 0 && --mallocsLeft == 0)
        return nullptr;
    void *const address = (__interceptor_malloc != nullptr ? __interceptor_malloc : __libc_malloc)(size);
    for (auto &block : blocks) {
        if (void *vacant = nullptr; block.address.compare_exchange_strong(vacant, address)) {
            block.size = size;
            return address;
        }
    }
    std::abort(); // more blocks than any test leaves open
}

void free(void *address) noexcept {
    for (auto &block : blocks) {
        if (address != nullptr && block.address == address) {
            const auto *const bytes = static_cast<const char *>(address);
            unwiped += std::any_of(bytes, bytes + block.size, [](char byte) { return byte != 0; });
            block.address = nullptr;
        }
    }
    (__interceptor_free != nullptr ? __interceptor_free : __libc_free)(address);
}

int gettimeofday(timeval *__restrict time, void *__restrict) noexcept {
    *time = {0, 7999};
    return 0;
}

tm *localtime_r(const time_t *__restrict, tm *__restrict local) noexcept {
    *local = {5, 4, 3, 1, 0, 70, 4, 0, 0, 0, nullptr};
    return timeKnown ? local : nullptr;
}

int fflush(FILE *stream) {
    flushCount += stream == stdout;
    return fflush_unlocked(stream);
}

} // extern "C"

namespace recording {
void failMalloc(int n) { mallocsLeft = n; }
int unwipedBlocks() { return unwiped; }
int flushes() { return flushCount; }
void setLocalTime(bool known) { timeKnown = known; }
int liveBlocks() {
    return static_cast<int>(
        std::count_if(blocks, std::end(blocks), [](const auto &each) { return each.address != nullptr; }));
}
} // namespace recording
