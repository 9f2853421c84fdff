#include "vemora_utils.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// The highest level that is written, 0 for none. Read from the environment once: a sink that is quiet costs one load.
int32_t keptLevel() {
    constexpr int32_t s32NotReadYet = -1;
    static int32_t s_s32Kept = s32NotReadYet;
    int32_t s32Kept = __atomic_load_n(&s_s32Kept, __ATOMIC_RELAXED);
    if (s32Kept == s32NotReadYet) {
        const char *pszLevel = std::getenv("VEMORA_LOG");
        s32Kept = 0;
        if (pszLevel != nullptr && pszLevel[0] >= '1' && pszLevel[0] <= '6' && pszLevel[1] == '\0')
            s32Kept = pszLevel[0] - '0';
        __atomic_store_n(&s_s32Kept, s32Kept, __ATOMIC_RELAXED);
    }
    return s32Kept;
}

} // namespace

extern "C" {

int32_t SVR_LOG_Write(const char *pszTag, int32_t s32Level, const char *pszFormat, ...) {
    if (s32Level > keptLevel())
        return 0;
    char szLine[2304]; // one call for the whole line, so that lines of several threads do not mix
    va_list stArgs;
    va_start(stArgs, pszFormat);
    std::vsnprintf(szLine, sizeof szLine, pszFormat, stArgs);
    va_end(stArgs);
    const size_t u32Length = std::strlen(szLine);
    const bool bEnded = u32Length > 0 && szLine[u32Length - 1] == '\n';
    std::fprintf(stderr, "%s/%d %s%s", pszTag, static_cast<int>(s32Level), szLine, bEnded ? "" : "\n");
    return 0;
}

int memset_s(void *pDst, size_t u32Capacity, int s32Byte, size_t u32Count) {
    if (pDst == nullptr)
        return EINVAL;
    const bool bFits = u32Count <= u32Capacity;
    std::memset(pDst, s32Byte, bFits ? u32Count : u32Capacity);
    return bFits ? 0 : ERANGE;
}

int memcpy_s(void *pDst, size_t u32Capacity, const void *pSrc, size_t u32Count) {
    if (pDst == nullptr || pSrc == nullptr)
        return EINVAL;
    if (u32Count > u32Capacity)
        return ERANGE;
    std::memcpy(pDst, pSrc, u32Count);
    return 0;
}

int vsnprintf_s(char *pszDst, size_t u32Capacity, size_t u32MaxCount, const char *pszFormat, va_list stArgs) {
    if (pszDst == nullptr || pszFormat == nullptr || u32Capacity == 0)
        return -1;
    const size_t u32Limit = u32MaxCount < u32Capacity ? u32MaxCount + 1 : u32Capacity;
    const int s32Length = std::vsnprintf(pszDst, u32Limit, pszFormat, stArgs);
    return s32Length >= 0 && static_cast<size_t>(s32Length) < u32Limit ? s32Length : -1;
}

int snprintf_s(char *pszDst, size_t u32Capacity, size_t u32MaxCount, const char *pszFormat, ...) {
    va_list stArgs;
    va_start(stArgs, pszFormat);
    const int s32Length = vsnprintf_s(pszDst, u32Capacity, u32MaxCount, pszFormat, stArgs);
    va_end(stArgs);
    return s32Length;
}

} // extern "C"
