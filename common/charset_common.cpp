#include "charset_common.h"

#include "vemora_utils.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sys/time.h>

namespace {

constexpr const char *LOG_TAG = "Vemora-CharsetMGR";
constexpr size_t LOG_BUFFER_SIZE = 2048;

struct TimeStamp {
    bool bKnown;
    tm stLocal;
    long s32Milliseconds;
};

TimeStamp now() {
    TimeStamp stStamp{};
    timeval stTime{};
    gettimeofday(&stTime, nullptr);
    stStamp.bKnown = localtime_r(&stTime.tv_sec, &stStamp.stLocal) != nullptr;
    stStamp.s32Milliseconds = static_cast<long>(stTime.tv_usec / 1000);
    return stStamp;
}

// The text of a line, cut off where the buffer ends. Nearly every operation logs, most lines are fixed texts, and
// putting those together without a format costs half as much.
class LineText {
  public:
    LineText(std::string_view strFile, int32_t s32Line) {
        char acLine[12];
        char *const pcEnd = acLine + sizeof acLine;
        char *pcDigit = pcEnd;
        uint32_t u32Rest = s32Line < 0 ? 0u - static_cast<uint32_t>(s32Line) : static_cast<uint32_t>(s32Line);
        do {
            *--pcDigit = static_cast<char>('0' + u32Rest % 10);
            u32Rest /= 10;
        } while (u32Rest != 0);
        if (s32Line < 0)
            *--pcDigit = '-';
        append('[');
        append(strFile);
        append(':');
        while (pcDigit != pcEnd)
            append(*pcDigit++);
        append(']');
        append(' ');
    }

    void append(char cAdded) {
        if (u32Length < sizeof szText - 1)
            szText[u32Length++] = cAdded;
    }

    void append(std::string_view strText) {
        const size_t u32Room = sizeof szText - 1 - u32Length;
        const size_t u32Added = strText.size() < u32Room ? strText.size() : u32Room;
        std::memcpy(szText + u32Length, strText.data(), u32Added);
        u32Length += u32Added;
    }

    // The last part: it fills the buffer as far as the host's function does, which may leave out a zero that it owes.
    ZU_CHARSET_PRINTF_LIKE(2, 0) void appendFormatted(const char *pszFormat, va_list stArgs) {
        const size_t u32Room = sizeof szText - u32Length;
        szText[u32Length] = '\0';
        if (u32Room > 1)
            vsnprintf_s(szText + u32Length, u32Room, u32Room - 1, pszFormat, stArgs);
        u32Length = sizeof szText - 1;
    }

    void write(int32_t s32Level) {
        szText[u32Length] = '\0';
        const TimeStamp stStamp = now();
        const int32_t s32HostLevel = CHARSET_GetLoglevel(s32Level);
        if (stStamp.bKnown) {
            SVR_LOG_Write(LOG_TAG, s32HostLevel, "[%02d:%02d:%02d.%03ld]: %s", stStamp.stLocal.tm_hour,
                          stStamp.stLocal.tm_min, stStamp.stLocal.tm_sec, stStamp.s32Milliseconds, szText);
        } else {
            SVR_LOG_Write(LOG_TAG, s32HostLevel, "%s", szText);
        }
        std::fflush(stdout);
    }

  private:
    size_t u32Length = 0;
    char szText[LOG_BUFFER_SIZE];
};

} // namespace

extern "C" {

int32_t CHARSET_GetLoglevel(int32_t s32Level) {
    if (s32Level >= 1 && s32Level <= 4)
        return s32Level;
    return s32Level == 5 ? 6 : 5;
}

void CHARSET_DBG_Printf(int32_t s32Level, const char *pszFile, int32_t s32Line, const char *pszMessage,
                        int32_t s32Ret) {
    if (pszFile == nullptr || s32Level == 0)
        return;
    const TimeStamp stStamp = now();
    const char *pszName = zucharset::baseName(pszFile);
    const int32_t s32HostLevel = CHARSET_GetLoglevel(s32Level);
    if (pszMessage == nullptr)
        pszMessage = "";
    const auto u32Ret = static_cast<unsigned>(s32Ret);
    if (stStamp.bKnown) {
        SVR_LOG_Write(LOG_TAG, s32HostLevel, "[%02d:%02d:%02d.%03ld]: [%s:%d] %s, ret 0x%x \n", stStamp.stLocal.tm_hour,
                      stStamp.stLocal.tm_min, stStamp.stLocal.tm_sec, stStamp.s32Milliseconds, pszName,
                      static_cast<int>(s32Line), pszMessage, u32Ret);
    } else {
        SVR_LOG_Write(LOG_TAG, s32HostLevel, "[%s:%d] %s, ret 0x%x \n", pszName, static_cast<int>(s32Line), pszMessage,
                      u32Ret);
    }
}

void CHARSET_Printf(int32_t s32Level, const char *pszFile, int32_t s32Line, const char *pszFormat, ...) {
    if (s32Level == 0)
        return;
    LineText stText(zucharset::baseName(pszFile), s32Line);
    va_list stArgs;
    va_start(stArgs, pszFormat);
    stText.appendFormatted(pszFormat, stArgs);
    va_end(stArgs);
    stText.write(s32Level);
}

void *CHARSET_MALLOCZ(uint32_t u32Size) {
    if (u32Size == 0)
        return nullptr;
    void *pBlock = std::malloc(u32Size);
    if (pBlock != nullptr)
        memset_s(pBlock, u32Size, 0, u32Size);
    return pBlock;
}

void *CHARSET_REALLOC(void *pOld, uint32_t u32OldSize, uint32_t u32NewSize) {
    if (u32NewSize <= u32OldSize)
        return pOld;
    void *pNew = CHARSET_MALLOCZ(u32NewSize);
    if (pOld != nullptr) {
        if (pNew != nullptr)
            memcpy_s(pNew, u32NewSize, pOld, u32OldSize);
        std::free(pOld);
    }
    return pNew;
}

int32_t ZU_CHARSET_GetMinCodetype(void) { return ZU_CHARSET_CODETYPE_BIG5; }

int32_t ZU_CHARSET_GetMaxCodetype(void) { return ZU_CHARSET_CODETYPE_CP949; }

int32_t ZU_CHARSET_TestUnicode_Len(uint32_t u32Unicode) { return zucharset::utf8Length(u32Unicode); }

int32_t ZU_CHARSET_UNICODEToUTF8code(uint32_t u32Unicode, uint8_t *pu8Output) {
    const int32_t s32Length = zucharset::utf8Length(u32Unicode);
    zucharset::writeUtf8(u32Unicode, s32Length, pu8Output);
    return s32Length;
}

} // extern "C"

namespace zucharset {

void logText(int32_t s32Level, std::initializer_list<std::string_view> astrParts, LogSite stSite) {
    LineText stText({stSite.pszFile, stSite.u32FileLength}, stSite.s32Line);
    for (const std::string_view strPart : astrParts)
        stText.append(strPart);
    stText.write(s32Level);
}

void logText(int32_t s32Level, std::string_view strText, LogSite stSite) {
    LineText stText({stSite.pszFile, stSite.u32FileLength}, stSite.s32Line);
    stText.append(strText);
    stText.write(s32Level);
}

int32_t refuseWithText(int32_t s32Level, const char *pszText, LogSite stSite) {
    logText(s32Level, pszText, stSite);
    return -1;
}

int32_t refuse(const char *pszMessage, LogSite stSite) {
    CHARSET_DBG_Printf(LOG_ERROR, stSite.pszFile, stSite.s32Line, pszMessage, -1);
    return -1;
}

int32_t applyCommand(HANDLE_CONTROL_S &stControl, int32_t s32Cmd, const void *pArg, const char *pszUnknown,
                     LogSite stSite) {
    switch (s32Cmd) {
        case ZU_CHARSET_CMD_QUIT:
            if (pArg == nullptr)
                return -1;
            // In one order with what follows: the manager looks next whether a plug-in is held that must hear of it.
            __atomic_store_n(&stControl.s32Quit, *static_cast<const int32_t *>(pArg), __ATOMIC_SEQ_CST);
            return 0;
        case ZU_CHARSET_CMD_OPTION:
            storeOption(stControl, reinterpret_cast<ZU_CHARSET_OPTION>(pArg));
            return 0;
        default:
            return refuseWithText(LOG_ERROR, pszUnknown, stSite);
    }
}

void releaseHandle(void *pHandle, size_t u32Size) {
    memset_s(pHandle, u32Size, 0, u32Size);
    std::free(pHandle);
}

} // namespace zucharset
