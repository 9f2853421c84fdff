// The exported identification tests.
#include "detector_identification.h"

#include "charset_common.h"

#include <initializer_list>

namespace zucharset {
namespace {

// --- The decision rules ---

// Accepts when more than s32Threshold of 100 bytes count. 64 bits, so that no length overflows the percentage.
constexpr int32_t checkConfidentAbove(int32_t s32Total, int32_t s32Count, int32_t s32Threshold) {
    const int64_t s64Percentage = s32Total > 0 ? int64_t{s32Count} * 100 / s32Total : 0;
    return s64Percentage <= s32Threshold ? -1 : 0;
}

// Accepts when a separator was seen or when fewer than 90 of 100 bytes lie outside ASCII units.
constexpr int32_t checkConfidentBelow(int32_t s32Total, int32_t s32Separators, int32_t s32Rest) {
    if (s32Separators > 0)
        return 0;
    const int64_t s64Percentage = s32Total > 0 ? int64_t{s32Rest} * 100 / s32Total : 0;
    return s64Percentage > 89 ? -1 : 0;
}

constexpr int32_t ALL_BUT_ONE_PERCENT = 99;

// --- UTF-16 ---

constexpr int32_t IsUnicodeBECheckKnown(uint8_t u8Byte) {
    return u8Byte == '\n' || u8Byte == ' ' || u8Byte == '\t' || u8Byte == ',' || u8Byte == '.' ? 0 : -1;
}

// Both byte orders; s32High is the place of the high byte in a code unit.
int32_t isUnicode(const uint8_t *pu8Input, int32_t s32InputLen, int32_t s32High, const char *pszName,
                  LogSite stSite = LogSite::here()) {
    if (pu8Input == nullptr || s32InputLen <= 0)
        return refuse("invalid param!", stSite);
    const int32_t s32Low = 1 - s32High;
    if (s32InputLen >= 2 && pu8Input[s32High] == 0xFE && pu8Input[s32Low] == 0xFF) {
        CHARSET_DBG_Printf(LOG_NOTICE, stSite.pszFile, stSite.s32Line, pszName, 0);
        return 0;
    }
    int32_t s32Ascii = 0;
    for (int32_t s32Pos = 0; s32Pos < s32InputLen - 1; s32Pos += 2) {
        const uint8_t u8Low = pu8Input[s32Pos + s32Low];
        if (pu8Input[s32Pos + s32High] != 0 || u8Low >= 0x80)
            continue;
        if (IsUnicodeBECheckKnown(u8Low) == 0)
            return checkConfidentBelow(s32InputLen, 1, 0); // one separator decides, whatever follows
        ++s32Ascii;
    }
    return checkConfidentBelow(s32InputLen, 0, s32InputLen - 2 * s32Ascii);
}

// --- Sets of known bytes ---

struct ByteRange {
    uint8_t u8First;
    uint8_t u8Last;

    constexpr ByteRange(int32_t s32Only) : ByteRange(s32Only, s32Only) {}
    constexpr ByteRange(int32_t s32First, int32_t s32Last)
        : u8First(static_cast<uint8_t>(s32First)), u8Last(static_cast<uint8_t>(s32Last)) {}
};

constexpr ByteSet bytes(std::initializer_list<ByteRange> astRanges) {
    ByteSet stSet{};
    for (const ByteRange &stRange : astRanges) {
        for (uint32_t u32Byte = stRange.u8First; u32Byte <= stRange.u8Last; ++u32Byte)
            stSet.add(static_cast<uint8_t>(u32Byte));
    }
    return stSet;
}

constexpr ByteSet without(ByteSet stSet, std::initializer_list<ByteRange> astGaps) {
    const ByteSet stGaps = bytes(astGaps);
    for (uint32_t u32Byte = 0; u32Byte <= 0xFF; ++u32Byte) {
        if (stGaps.has(static_cast<uint8_t>(u32Byte)))
            stSet.remove(static_cast<uint8_t>(u32Byte));
    }
    return stSet;
}

// A code page knows every byte but its undefined ones.
constexpr ByteSet codePage(std::initializer_list<ByteRange> astUndefined) {
    return without(bytes({{0x00, 0xFF}}), astUndefined);
}

// A part of ISO/IEC 8859 knows its graphic characters, and no control character at all.
constexpr ByteSet isoPart(std::initializer_list<ByteRange> astUndefined) {
    return without(bytes({{0x20, 0x7E}, {0xA0, 0xFF}}), astUndefined);
}

constexpr ByteSet s_stCp1250 = codePage({0x81, 0x83, 0x88, 0x90, 0x98});
constexpr ByteSet s_stCp1251 = codePage({0x98});
constexpr ByteSet s_stCp1252 = codePage({0x81, 0x8D, 0x8F, 0x90, 0x9D});
constexpr ByteSet s_stCp1253 = codePage({0x81, 0x88, 0x8A, {0x8C, 0x90}, 0x98, 0x9A, {0x9C, 0x9F}, 0xAA, 0xD2, 0xFF});
constexpr ByteSet s_stCp1254 = codePage({0x81, {0x8D, 0x90}, 0x9D, 0x9E});
constexpr ByteSet s_stCp1255 =
    codePage({0x81, 0x8A, {0x8C, 0x90}, 0x9A, {0x9C, 0x9F}, 0xCA, {0xD9, 0xDF}, 0xFB, 0xFC, 0xFF});
constexpr ByteSet s_stCp1256 = codePage({});
constexpr ByteSet s_stCp1257 = codePage({0x81, 0x83, 0x88, 0x8A, 0x8C, 0x90, 0x98, 0x9A, 0x9C, 0x9F, 0xA1, 0xA5});
constexpr ByteSet s_stCp1258 = codePage({0x81, 0x8A, {0x8D, 0x90}, 0x9A, 0x9D, 0x9E});
constexpr ByteSet s_stCp874 = codePage({{0x81, 0x84}, {0x86, 0x90}, {0x98, 0x9F}, {0xDB, 0xDE}, {0xFC, 0xFF}});

constexpr ByteSet s_stIsoFull = isoPart({}); // parts that define every position
constexpr ByteSet s_stIso3 = isoPart({0xA5, 0xAE, 0xBE, 0xC3, 0xD0, 0xE3, 0xF0});
constexpr ByteSet s_stIso6 =
    isoPart({{0xA1, 0xA3}, {0xA5, 0xAB}, {0xAE, 0xBA}, {0xBC, 0xBE}, 0xC0, {0xDB, 0xDF}, {0xF3, 0xFF}});
constexpr ByteSet s_stIso7 = isoPart({0xAE, 0xD2, 0xFF});
constexpr ByteSet s_stIso8 = isoPart({0xA1, {0xBF, 0xDE}, 0xFB, 0xFC, 0xFF});
constexpr ByteSet s_stIso11 = isoPart({{0xDB, 0xDE}, {0xFC, 0xFF}});

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

struct TEST_SET_S {
    IDENTIFICATION_TEST_FN pfnTest;
    const ByteSet *pstKnown;
};

constexpr TEST_SET_S s_astTestSets[] = {
    {IsCp1250, &s_stCp1250},      {IsCp1251, &s_stCp1251},      {IsCp1252, &s_stCp1252},
    {IsCp1253, &s_stCp1253},      {IsCp1254, &s_stCp1254},      {IsCp1255, &s_stCp1255},
    {IsCp1256, &s_stCp1256},      {IsCp1257, &s_stCp1257},      {IsCp1258, &s_stCp1258},
    {IsCp874, &s_stCp874},        {IsIso8859_1, &s_stIsoFull},  {IsIso8859_2, &s_stIsoFull},
    {IsIso8859_3, &s_stIso3},     {IsIso8859_4, &s_stIsoFull},  {IsIso8859_5, &s_stIsoFull},
    {IsIso8859_6, &s_stIso6},     {IsIso8859_7, &s_stIso7},     {IsIso8859_8, &s_stIso8},
    {IsIso8859_9, &s_stIsoFull},  {IsIso8859_10, &s_stIsoFull}, {IsIso8859_11, &s_stIso11},
    {IsIso8859_13, &s_stIsoFull}, {IsIso8859_14, &s_stIsoFull}, {IsIso8859_15, &s_stIsoFull},
    {IsIso8859_16, &s_stIsoFull},
};

} // namespace

const ByteSet *knownBytes(IDENTIFICATION_TEST_FN pfnTest) {
    for (const TEST_SET_S &stRow : s_astTestSets) {
        if (stRow.pfnTest == pfnTest)
            return stRow.pstKnown;
    }
    return nullptr;
}

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
    return checkedEveryByteIn(s_stCp1250, pu8Input, s32InputLen);
}

int32_t IsCp1251(const uint8_t *pu8Input, int32_t s32InputLen) {
    return checkedEveryByteIn(s_stCp1251, pu8Input, s32InputLen);
}

int32_t IsCp1252(const uint8_t *pu8Input, int32_t s32InputLen) {
    return everyByteIn(s_stCp1252, pu8Input, s32InputLen);
}

int32_t IsCp1253(const uint8_t *pu8Input, int32_t s32InputLen) {
    return everyByteIn(s_stCp1253, pu8Input, s32InputLen);
}

int32_t IsCp1254(const uint8_t *pu8Input, int32_t s32InputLen) {
    return everyByteIn(s_stCp1254, pu8Input, s32InputLen);
}

int32_t IsCp1255(const uint8_t *pu8Input, int32_t s32InputLen) {
    return everyByteIn(s_stCp1255, pu8Input, s32InputLen);
}

// The code page defines every byte, so there is nothing to read.
int32_t IsCp1256(const uint8_t *, int32_t s32InputLen) { return s32InputLen > 0 ? 0 : -1; }

int32_t IsCp1257(const uint8_t *pu8Input, int32_t s32InputLen) {
    return everyByteIn(s_stCp1257, pu8Input, s32InputLen);
}

int32_t IsCp1258(const uint8_t *pu8Input, int32_t s32InputLen) {
    return everyByteIn(s_stCp1258, pu8Input, s32InputLen);
}

int32_t IsCp874(const uint8_t *pu8Input, int32_t s32InputLen) { return everyByteIn(s_stCp874, pu8Input, s32InputLen); }

// ISO-8859-1 besides asks that fewer than 20 of 100 characters be signs and punctuation of the block A1 to BF.
int32_t IsIso8859_1(const uint8_t *pu8Input, int32_t s32InputLen) {
    if (everyByteIn(s_stIsoFull, pu8Input, s32InputLen) != 0)
        return -1;
    int64_t s64Symbols = 0;
    for (int32_t i = 0; i < s32InputLen; ++i)
        s64Symbols += pu8Input[i] >= 0xA1 && pu8Input[i] <= 0xBF ? 1 : 0;
    return s64Symbols * 100 / s32InputLen <= 19 ? 0 : -1;
}

int32_t IsIso8859_2(const uint8_t *pu8Input, int32_t s32InputLen) {
    return everyByteIn(s_stIsoFull, pu8Input, s32InputLen);
}

int32_t IsIso8859_3(const uint8_t *pu8Input, int32_t s32InputLen) {
    return everyByteIn(s_stIso3, pu8Input, s32InputLen);
}

int32_t IsIso8859_4(const uint8_t *pu8Input, int32_t s32InputLen) { return IsIso8859_2(pu8Input, s32InputLen); }

int32_t IsIso8859_5(const uint8_t *pu8Input, int32_t s32InputLen) { return IsIso8859_2(pu8Input, s32InputLen); }

int32_t IsIso8859_6(const uint8_t *pu8Input, int32_t s32InputLen) {
    return everyByteIn(s_stIso6, pu8Input, s32InputLen);
}

int32_t IsIso8859_7(const uint8_t *pu8Input, int32_t s32InputLen) {
    return everyByteIn(s_stIso7, pu8Input, s32InputLen);
}

int32_t IsIso8859_8(const uint8_t *pu8Input, int32_t s32InputLen) {
    return everyByteIn(s_stIso8, pu8Input, s32InputLen);
}

int32_t IsIso8859_9(const uint8_t *pu8Input, int32_t s32InputLen) { return IsIso8859_2(pu8Input, s32InputLen); }

int32_t IsIso8859_10(const uint8_t *pu8Input, int32_t s32InputLen) { return IsIso8859_2(pu8Input, s32InputLen); }

int32_t IsIso8859_11(const uint8_t *pu8Input, int32_t s32InputLen) {
    return everyByteIn(s_stIso11, pu8Input, s32InputLen);
}

int32_t IsIso8859_13(const uint8_t *pu8Input, int32_t s32InputLen) { return IsIso8859_2(pu8Input, s32InputLen); }

int32_t IsIso8859_14(const uint8_t *pu8Input, int32_t s32InputLen) { return IsIso8859_2(pu8Input, s32InputLen); }

int32_t IsIso8859_15(const uint8_t *pu8Input, int32_t s32InputLen) { return IsIso8859_2(pu8Input, s32InputLen); }

int32_t IsIso8859_16(const uint8_t *pu8Input, int32_t s32InputLen) { return IsIso8859_2(pu8Input, s32InputLen); }

} // extern "C"
