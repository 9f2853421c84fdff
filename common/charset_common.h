// What every file of the library shares: log lines that name the place where they were raised, the option word and
// quit flag of a handle, the release of a handle, and the UTF-8 form of a code point.
#pragma once

#include "zucharset.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string_view>

namespace zucharset {

// Library log levels.
inline constexpr int32_t LOG_ERROR = 2;
inline constexpr int32_t LOG_NOTICE = 4;
inline constexpr int32_t LOG_TRACE = 5;

// The name of a file without its folders. A compiler works it out for a name that it knows.
inline const char *baseName(const char *pszPath) {
    const char *pszSlash = std::strrchr(pszPath, '/');
    return pszSlash == nullptr ? pszPath : pszSlash + 1;
}

// A place in the source. As a defaulted argument LogSite::here() is the place of the call, also through a function
// shared by several files, so that a line always names the file in which the failure was found.
struct LogSite {
    const char *pszFile; // without its folders
    uint32_t u32FileLength;
    int32_t s32Line;

    static LogSite here(const char *pszPath = __builtin_FILE(), int32_t s32Line = __builtin_LINE()) {
        const char *pszFile = baseName(pszPath);
        return {pszFile, static_cast<uint32_t>(std::strlen(pszFile)), s32Line};
    }
};

// Logs a text as it stands, line end included.
void logText(int32_t s32Level, std::string_view strText, LogSite stSite = LogSite::here());

// The same for a text in parts.
void logText(int32_t s32Level, std::initializer_list<std::string_view> astrParts, LogSite stSite = LogSite::here());

// Logs the text and gives -1, the result of the operation that refuses.
int32_t refuseWithText(int32_t s32Level, const char *pszText, LogSite stSite = LogSite::here());

// The same at error level in the form that shows the return code.
int32_t refuse(const char *pszMessage, LogSite stSite = LogSite::here());

// The last two words of every handle. Set-data writes them while another thread works on the handle: each is one
// aligned word, read and written whole, and orders nothing else.
struct HANDLE_CONTROL_S {
    ZU_CHARSET_OPTION u32Option;
    int32_t s32Quit;
};

inline bool quitRequested(const HANDLE_CONTROL_S &stControl) {
    return __atomic_load_n(&stControl.s32Quit, __ATOMIC_RELAXED) > 0;
}

inline ZU_CHARSET_OPTION loadOption(const HANDLE_CONTROL_S &stControl) {
    return __atomic_load_n(&stControl.u32Option, __ATOMIC_RELAXED);
}

inline void storeOption(HANDLE_CONTROL_S &stControl, ZU_CHARSET_OPTION u32Option) {
    __atomic_store_n(&stControl.u32Option, u32Option, __ATOMIC_RELAXED);
}

// Carries out a set-data command. An unknown one logs pszUnknown and gives -1, as does a quit without a value.
int32_t applyCommand(HANDLE_CONTROL_S &stControl, int32_t s32Cmd, const void *pArg, const char *pszUnknown,
                     LogSite stSite = LogSite::here());

// Wipes and frees a handle of u32Size bytes.
void releaseHandle(void *pHandle, size_t u32Size);

// UTF-8 after RFC 2279: up to six bytes, no upper limit, surrogates like any other value.
constexpr int32_t utf8Length(uint32_t u32Unicode) {
    if (u32Unicode < 0x80)
        return 1;
    if (u32Unicode < 0x800)
        return 2;
    if (u32Unicode < 0x10000)
        return 3;
    if (u32Unicode < 0x200000)
        return 4;
    return u32Unicode < 0x4000000 ? 5 : 6;
}

// Writes the s32Length bytes that utf8Length() gives for the code point.
inline void writeUtf8(uint32_t u32Unicode, int32_t s32Length, uint8_t *pu8Output) {
    constexpr uint8_t au8LeadMark[] = {0x00, 0x00, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC};
    for (int32_t i = s32Length - 1; i > 0; --i) {
        pu8Output[i] = static_cast<uint8_t>(0x80u | (u32Unicode & 0x3Fu));
        u32Unicode >>= 6;
    }
    pu8Output[0] = static_cast<uint8_t>(au8LeadMark[s32Length] | u32Unicode);
}

} // namespace zucharset
