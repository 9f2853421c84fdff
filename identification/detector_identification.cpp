// The exported identification tests.
#include "charset_common.h"
#include "known_bytes.h"
#include "utf16_units.h"

namespace zucharset {
namespace {

// Accepts when more than s32Threshold of 100 bytes count. 64 bits, so that no length overflows the percentage.
constexpr int32_t checkConfidentAbove(int32_t s32Total, int32_t s32Count, int32_t s32Threshold) {
    const int64_t s64Percentage = s32Total > 0 ? int64_t{s32Count} * 100 / s32Total : 0;
    return s64Percentage <= s32Threshold ? -1 : 0;
}

constexpr int32_t ALL_BUT_ONE_PERCENT = 99;

// --- UTF-16 ---

// Both byte orders; s32High is the place of the high byte in a code unit.
int32_t isUnicode(const uint8_t *pu8Input, int32_t s32InputLen, int32_t s32High, const char *pszName,
                  LogSite stSite = LogSite::here()) {
    if (pu8Input == nullptr || s32InputLen <= 0)
        return refuse("invalid param!", stSite);
    if (s32InputLen >= 2 && pu8Input[s32High] == 0xFE && pu8Input[1 - s32High] == 0xFF) {
        CHARSET_DBG_Printf(LOG_NOTICE, stSite.pszFile, stSite.s32Line, pszName, 0);
        return 0;
    }
    return checkUtf16Units(pu8Input, s32InputLen, s32High, 0, 0, [] { return false; });
}

// --- Single bytes ---

// The single-byte tests but for IsCp1256: the first foreign byte decides, so a count short by one stands for any.
int32_t everyByteIn(const ByteSet &stKnown, const uint8_t *pu8Input, int32_t s32InputLen) {
    if (pu8Input == nullptr)
        return -1;
    int32_t s32Count = 0;
    while (s32Count < s32InputLen && stKnown.has(pu8Input[s32Count]))
        ++s32Count;
    return checkConfidentAbove(s32InputLen, s32Count, ALL_BUT_ONE_PERCENT);
}

int32_t checkedEveryByteIn(const ByteSet &stKnown, const uint8_t *pu8Input, int32_t s32InputLen,
                           LogSite stSite = LogSite::here()) {
    if (pu8Input == nullptr || s32InputLen <= 0)
        return refuse("invalid param!", stSite);
    return everyByteIn(stKnown, pu8Input, s32InputLen);
}

} // namespace
} // namespace zucharset

using namespace zucharset;

extern "C" {

int32_t IsUnicodeBE(const uint8_t *pu8Input, int32_t s32InputLen) {
    return isUnicode(pu8Input, s32InputLen, 0, "IsUnicodeBE");
}

int32_t IsUnicodeLE(const uint8_t *pu8Input, int32_t s32InputLen) {
    return isUnicode(pu8Input, s32InputLen, 1, "IsUnicodeLE");
}

int32_t IsCp1250(const uint8_t *pu8Input, int32_t s32InputLen) {
    return checkedEveryByteIn(KNOWN_CP1250, pu8Input, s32InputLen);
}

int32_t IsCp1251(const uint8_t *pu8Input, int32_t s32InputLen) {
    return checkedEveryByteIn(KNOWN_CP1251, pu8Input, s32InputLen);
}

int32_t IsCp1252(const uint8_t *pu8Input, int32_t s32InputLen) {
    return everyByteIn(KNOWN_CP1252, pu8Input, s32InputLen);
}

int32_t IsCp1253(const uint8_t *pu8Input, int32_t s32InputLen) {
    return everyByteIn(KNOWN_CP1253, pu8Input, s32InputLen);
}

int32_t IsCp1254(const uint8_t *pu8Input, int32_t s32InputLen) {
    return everyByteIn(KNOWN_CP1254, pu8Input, s32InputLen);
}

int32_t IsCp1255(const uint8_t *pu8Input, int32_t s32InputLen) {
    return everyByteIn(KNOWN_CP1255, pu8Input, s32InputLen);
}

// The code page defines every byte, so there is nothing to read.
int32_t IsCp1256(const uint8_t *, int32_t s32InputLen) { return s32InputLen > 0 ? 0 : -1; }

int32_t IsCp1257(const uint8_t *pu8Input, int32_t s32InputLen) {
    return everyByteIn(KNOWN_CP1257, pu8Input, s32InputLen);
}

int32_t IsCp1258(const uint8_t *pu8Input, int32_t s32InputLen) {
    return everyByteIn(KNOWN_CP1258, pu8Input, s32InputLen);
}

int32_t IsCp874(const uint8_t *pu8Input, int32_t s32InputLen) {
    return everyByteIn(KNOWN_CP874, pu8Input, s32InputLen);
}

// ISO-8859-1 besides asks that fewer than 20 of 100 characters be signs and punctuation of the block A1 to BF.
int32_t IsIso8859_1(const uint8_t *pu8Input, int32_t s32InputLen) {
    if (everyByteIn(KNOWN_ISO8859_2, pu8Input, s32InputLen) != 0)
        return -1;
    int64_t s64Symbols = 0;
    for (int32_t i = 0; i < s32InputLen; ++i)
        s64Symbols += pu8Input[i] >= 0xA1 && pu8Input[i] <= 0xBF ? 1 : 0;
    return s64Symbols * 100 / s32InputLen <= 19 ? 0 : -1;
}

int32_t IsIso8859_2(const uint8_t *pu8Input, int32_t s32InputLen) {
    return everyByteIn(KNOWN_ISO8859_2, pu8Input, s32InputLen);
}

int32_t IsIso8859_3(const uint8_t *pu8Input, int32_t s32InputLen) {
    return everyByteIn(KNOWN_ISO8859_3, pu8Input, s32InputLen);
}

int32_t IsIso8859_4(const uint8_t *pu8Input, int32_t s32InputLen) { return IsIso8859_2(pu8Input, s32InputLen); }

int32_t IsIso8859_5(const uint8_t *pu8Input, int32_t s32InputLen) { return IsIso8859_2(pu8Input, s32InputLen); }

int32_t IsIso8859_6(const uint8_t *pu8Input, int32_t s32InputLen) {
    return everyByteIn(KNOWN_ISO8859_6, pu8Input, s32InputLen);
}

int32_t IsIso8859_7(const uint8_t *pu8Input, int32_t s32InputLen) {
    return everyByteIn(KNOWN_ISO8859_7, pu8Input, s32InputLen);
}

int32_t IsIso8859_8(const uint8_t *pu8Input, int32_t s32InputLen) {
    return everyByteIn(KNOWN_ISO8859_8, pu8Input, s32InputLen);
}

int32_t IsIso8859_9(const uint8_t *pu8Input, int32_t s32InputLen) { return IsIso8859_2(pu8Input, s32InputLen); }

int32_t IsIso8859_10(const uint8_t *pu8Input, int32_t s32InputLen) { return IsIso8859_2(pu8Input, s32InputLen); }

int32_t IsIso8859_11(const uint8_t *pu8Input, int32_t s32InputLen) {
    return everyByteIn(KNOWN_ISO8859_11, pu8Input, s32InputLen);
}

int32_t IsIso8859_13(const uint8_t *pu8Input, int32_t s32InputLen) { return IsIso8859_2(pu8Input, s32InputLen); }

int32_t IsIso8859_14(const uint8_t *pu8Input, int32_t s32InputLen) { return IsIso8859_2(pu8Input, s32InputLen); }

int32_t IsIso8859_15(const uint8_t *pu8Input, int32_t s32InputLen) { return IsIso8859_2(pu8Input, s32InputLen); }

int32_t IsIso8859_16(const uint8_t *pu8Input, int32_t s32InputLen) { return IsIso8859_2(pu8Input, s32InputLen); }

} // extern "C"
