// Calls of malloc and its like from the two libraries end up here, because the program comes first when names are
// resolved; one of them can be made to fail.
#include "failing_memory.h"

#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <link.h>

static thread_local int callsLeft = 0;

static bool fails(const void *caller) {
    dl_find_object object;
    if (callsLeft == 0 || _dl_find_object(const_cast<void *>(caller), &object) != 0 ||
        std::strstr(object.dlfo_link_map->l_name, "libzu") == nullptr)
        return false;
    return --callsLeft == 0;
}

extern "C" {

// The next ones in line: a sanitizer's, if there is one, and the system's.
[[gnu::weak]] void *__interceptor_malloc(size_t size) noexcept;
[[gnu::weak]] void *__interceptor_calloc(size_t count, size_t size) noexcept;
[[gnu::weak]] void *__interceptor_realloc(void *address, size_t size) noexcept;
void *__libc_malloc(size_t size) noexcept;
void *__libc_calloc(size_t count, size_t size) noexcept;
void *__libc_realloc(void *address, size_t size) noexcept;

void *malloc(size_t size) noexcept {
    if (fails(__builtin_return_address(0)))
        return nullptr;
    return (__interceptor_malloc != nullptr ? __interceptor_malloc : __libc_malloc)(size);
}

void *calloc(size_t count, size_t size) noexcept {
    if (fails(__builtin_return_address(0)))
        return nullptr;
    return (__interceptor_calloc != nullptr ? __interceptor_calloc : __libc_calloc)(count, size);
}

void *realloc(void *address, size_t size) noexcept {
    if (fails(__builtin_return_address(0)))
        return nullptr;
    return (__interceptor_realloc != nullptr ? __interceptor_realloc : __libc_realloc)(address, size);
}
}

void failAllocation(int n) { callsLeft = n; }

bool allocationFailed() { return callsLeft == 0; }
