#include "detector_cascade.h"

#include "text_scan.h"
#include "utf16_units.h"

#include <algorithm>

namespace zucharset {
namespace {

#define ZU_CASCADE_ROW(test, codetype, known)                                                                          \
    { test, #test, ZU_CHARSET_CODETYPE_##codetype, known }

// The order decides between tests that accept the same text: the pickier ones come first.
constexpr CASCADE_ROW_S s_astCascade[] = {
    ZU_CASCADE_ROW(IsUnicodeBE, UCS16BE, nullptr),
    ZU_CASCADE_ROW(IsUnicodeLE, UCS16LE, nullptr),
    ZU_CASCADE_ROW(IsIso8859_6, ISO8859_6, &KNOWN_ISO8859_6),
    ZU_CASCADE_ROW(IsIso8859_8, ISO8859_8, &KNOWN_ISO8859_8),
    ZU_CASCADE_ROW(IsIso8859_11, ISO8859_11, &KNOWN_ISO8859_11),
    ZU_CASCADE_ROW(IsIso8859_3, ISO8859_3, &KNOWN_ISO8859_3),
    ZU_CASCADE_ROW(IsIso8859_7, ISO8859_7, &KNOWN_ISO8859_7),
    ZU_CASCADE_ROW(IsCp874, CP874, &KNOWN_CP874),
    ZU_CASCADE_ROW(IsCp1255, CP1255, &KNOWN_CP1255),
    ZU_CASCADE_ROW(IsIso8859_16, ISO8859_16, &KNOWN_ISO8859_2),
    ZU_CASCADE_ROW(IsIso8859_15, ISO8859_15, &KNOWN_ISO8859_2),
    ZU_CASCADE_ROW(IsIso8859_14, ISO8859_14, &KNOWN_ISO8859_2),
    ZU_CASCADE_ROW(IsIso8859_13, ISO8859_13, &KNOWN_ISO8859_2),
    ZU_CASCADE_ROW(IsIso8859_10, ISO8859_10, &KNOWN_ISO8859_2),
    ZU_CASCADE_ROW(IsIso8859_9, ISO8859_9, &KNOWN_ISO8859_2),
    ZU_CASCADE_ROW(IsIso8859_5, ISO8859_5, &KNOWN_ISO8859_2),
    ZU_CASCADE_ROW(IsIso8859_4, ISO8859_4, &KNOWN_ISO8859_2),
    ZU_CASCADE_ROW(IsIso8859_2, ISO8859_2, &KNOWN_ISO8859_2),
    ZU_CASCADE_ROW(IsIso8859_1, ISO8859_1, &KNOWN_ISO8859_2),
    ZU_CASCADE_ROW(IsCp1253, CP1253, &KNOWN_CP1253),
    ZU_CASCADE_ROW(IsCp1257, CP1257, &KNOWN_CP1257),
    ZU_CASCADE_ROW(IsCp1258, CP1258, &KNOWN_CP1258),
    ZU_CASCADE_ROW(IsCp1254, CP1254, &KNOWN_CP1254),
    ZU_CASCADE_ROW(IsCp1252, CP1252, &KNOWN_CP1252),
    ZU_CASCADE_ROW(IsCp1250, CP1250, &KNOWN_CP1250),
    ZU_CASCADE_ROW(IsCp1251, CP1251, &KNOWN_CP1251),
    ZU_CASCADE_ROW(IsCp1256, CP1256, &KNOWN_CP1256),
};
static_assert(std::size(s_astCascade) == 27);

#undef ZU_CASCADE_ROW

constexpr size_t UTF16_ROWS = 2;

// IsIso8859_1 also counts symbols. But it knows no more bytes than a test before it, so that its turn never comes.
static_assert([] {
    size_t u32Row = UTF16_ROWS;
    while (!s_astCascade[u32Row].pstKnown->includes(KNOWN_ISO8859_2))
        ++u32Row;
    return s_astCascade[u32Row].s32CodeType != ZU_CHARSET_CODETYPE_ISO8859_1;
}());

// --- Single bytes ---

// The bytes that a row does not know, as far as they are easily told from others: ranges outside the block 80 to 9F,
// which holds most of the unknown bytes, and nearly none of the bytes of a text.
struct GAPS_S {
    int32_t s32Count;
    uint8_t au8First[9];
    uint8_t au8Last[9];
};

constexpr GAPS_S gapsOf(const ByteSet &stKnown) {
    GAPS_S stGaps{};
    const auto isGap = [&](uint32_t u32Byte) {
        return (u32Byte < 0x80 || u32Byte > 0x9F) && !stKnown.has(static_cast<uint8_t>(u32Byte));
    };
    for (uint32_t u32Byte = 0; u32Byte <= 0xFF; ++u32Byte) {
        if (!isGap(u32Byte))
            continue;
        const int32_t s32Gap = stGaps.s32Count++; // no constant if there are more than nine
        stGaps.au8First[s32Gap] = static_cast<uint8_t>(u32Byte);
        while (u32Byte < 0xFF && isGap(u32Byte + 1))
            ++u32Byte;
        stGaps.au8Last[s32Gap] = static_cast<uint8_t>(u32Byte);
    }
    return stGaps;
}

struct ALL_GAPS_S {
    GAPS_S ast[std::size(s_astCascade)];
};

constexpr ALL_GAPS_S s_stGaps = [] {
    ALL_GAPS_S stGaps{};
    for (size_t i = UTF16_ROWS; i < std::size(s_astCascade); ++i)
        stGaps.ast[i] = gapsOf(*s_astCascade[i].pstKnown);
    return stGaps;
}();

// Whether ASCII is known throughout, control characters and all. If not, the gaps begin at 00.
bool knowsAscii(const GAPS_S &stGaps) { return stGaps.s32Count == 0 || stGaps.au8First[0] > 0; }

// Whether a block may hold bytes that a row does not know.
bool isSuspicious(const uint8_t *pu8Block, const GAPS_S &stGaps) {
    if (knowsAscii(stGaps) && isAsciiBlock(pu8Block))
        return false;
    VECTOR_MASK vFound{};
    const auto look = [&](uint8_t u8First, uint8_t u8Last) {
#pragma GCC unroll 4
        for (int32_t i = 0; i < TEXT_BLOCK; i += 16)
            vFound |= loadAs<VECTOR_U8>(pu8Block + i) - u8First <= static_cast<uint8_t>(u8Last - u8First);
    };
    look(0x80, 0x9F);
    for (int32_t s32Gap = 0; s32Gap < stGaps.s32Count; ++s32Gap)
        look(stGaps.au8First[s32Gap], stGaps.au8Last[s32Gap]);
    return !isZero(vFound);
}

// Position of the first byte from s32Pos on that a row does not know, or the length of the text; the position reached
// on a quit request.
int32_t findUnknown(const HANDLE_CONTROL_S &stControl, TEXT_S stText, int32_t s32Pos, const CASCADE_ROW_S &stRow,
                    const GAPS_S &stGaps) {
    const bool bSkipAscii = knowsAscii(stGaps);
    while (s32Pos < stText.s32Length && !quitRequested(stControl)) {
        const int32_t s32BlockEnd = s32Pos + std::min(stText.s32Length - s32Pos, TEXT_BLOCK);
        if (s32BlockEnd - s32Pos == TEXT_BLOCK && !isSuspicious(stText.pu8 + s32Pos, stGaps)) {
            s32Pos = s32BlockEnd;
            continue;
        }
        while (s32Pos < s32BlockEnd) {
            const int32_t s32End = s32Pos + std::min(s32BlockEnd - s32Pos, 4);
            if (bSkipAscii && s32End - s32Pos == 4 &&
                (loadAs<uint32_t>(stText.pu8 + s32Pos) & static_cast<uint32_t>(HIGH_BITS)) == 0)
                s32Pos = s32End;
            for (; s32Pos < s32End; ++s32Pos) {
                if (!stRow.pstKnown->has(stText.pu8[s32Pos]))
                    return s32Pos;
            }
        }
    }
    return s32Pos;
}

// The bytes at the start of a text, which show for most rows that they do not know them all. Without vectors it is
// faster to take down the bytes of the whole text than to look for unknown ones.
constexpr int32_t START = HAS_VECTORS ? 512 : INT32_MAX;

// The bytes that occur, up to a quit request.
ByteSet bytesOf(const HANDLE_CONTROL_S &stControl, TEXT_S stText) {
    uint8_t au8Seen[256] = {};
    for (int32_t s32Pos = 0; s32Pos < stText.s32Length && !quitRequested(stControl);) {
        const int32_t s32BlockEnd = s32Pos + std::min(stText.s32Length - s32Pos, QUIT_BLOCK);
        for (; s32BlockEnd - s32Pos >= 8; s32Pos += 8) {
#pragma GCC unroll 8
            for (int32_t i = 0; i < 8; ++i)
                au8Seen[stText.pu8[s32Pos + i]] = 1;
        }
        for (; s32Pos < s32BlockEnd; ++s32Pos)
            au8Seen[stText.pu8[s32Pos]] = 1;
    }
    ByteSet stBytes{};
    for (uint32_t u32Byte = 0; u32Byte < 256; ++u32Byte)
        stBytes.au32Bits[u32Byte / 32] |= uint32_t{au8Seen[u32Byte]} << u32Byte % 32;
    return stBytes;
}

// --- UTF-16 ---

// As checkUtf16Units(), but that a quit request ends it, which is a refusal. By vectors where there are any.
template <int32_t s32High> int32_t checkUnits(const HANDLE_CONTROL_S &stControl, TEXT_S stText) {
    constexpr auto unitOf = [](uint8_t u8Low) { return static_cast<uint16_t>(s32High == 0 ? u8Low << 8 : u8Low); };
    int32_t s32Ascii = 0;
    int32_t s32Pos = 0;
    while (HAS_VECTORS && stText.s32Length - s32Pos >= TEXT_BLOCK && !quitRequested(stControl)) {
        VECTOR_U16 vAscii{};
        VECTOR_U16 vSeparators{};
        for (int32_t i = 0; i < TEXT_BLOCK; i += 16) {
            const auto vUnits = loadAs<VECTOR_U16>(stText.pu8 + s32Pos + i);
            vAscii -= std::bit_cast<VECTOR_U16>((vUnits & static_cast<uint16_t>(~unitOf(0x7F))) == 0);
#pragma GCC unroll 8
            for (const uint8_t u8Separator : UTF16_SEPARATORS)
                vSeparators |= std::bit_cast<VECTOR_U16>(vUnits == unitOf(u8Separator));
        }
        if (!isZero(vSeparators))
            return checkConfidentBelow(stText.s32Length, 1, 0);
        const auto vSums = std::bit_cast<VECTOR_U64>(vAscii);
        s32Ascii += static_cast<int32_t>((vSums[0] + vSums[1]) * 0x0001000100010001 >> 48);
        s32Pos += TEXT_BLOCK;
    }
    return checkUtf16Units(stText.pu8, stText.s32Length, s32High, s32Pos, s32Ascii,
                           [&stControl] { return quitRequested(stControl); });
}

// The answer of a UTF-16 test, but that a quit request ends it. Without a zero byte there is no ASCII unit, so that
// only a byte order mark can make a text UTF-16; the test itself sees to that, and logs it.
bool acceptsUtf16(const CASCADE_ROW_S &stRow, const HANDLE_CONTROL_S &stControl, TEXT_S stText, bool bZero) {
    const uint32_t u32Start = stText.s32Length >= 2 ? loadAs<uint16_t>(stText.pu8) : 0;
    if (u32Start == 0xFEFF || u32Start == 0xFFFE)
        return stRow.pfnTest(stText.pu8, stText.s32Length) == 0;
    if (!bZero)
        return false;
    const bool bBigEndian = stRow.s32CodeType == ZU_CHARSET_CODETYPE_UCS16BE;
    return (bBigEndian ? checkUnits<0>(stControl, stText) : checkUnits<1>(stControl, stText)) == 0;
}

bool holdsZero(const HANDLE_CONTROL_S &stControl, TEXT_S stText, int32_t s32Pos) {
    while (s32Pos < stText.s32Length && !quitRequested(stControl)) {
        s32Pos = findMarkedUnlessQuit(stControl, stText, s32Pos, [](auto wWords) { return markEqual(wWords, 0); });
        if (s32Pos < stText.s32Length && stText.pu8[s32Pos] == 0)
            return true;
    }
    return false;
}

} // namespace

std::span<const CASCADE_ROW_S> cascadeRows() { return s_astCascade; }

// The bytes that occur are all that the single-byte tests look at.
int32_t identifySingleByte(const HANDLE_CONTROL_S &stControl, TEXT_S stText) {
    const int32_t s32Start = std::min(stText.s32Length, START);
    ByteSet stSeen = bytesOf(stControl, {stText.pu8, s32Start});
    const bool bZero = stSeen.has(0) || holdsZero(stControl, stText, s32Start);
    for (size_t i = 0; i < UTF16_ROWS && !quitRequested(stControl); ++i) {
        if (acceptsUtf16(s_astCascade[i], stControl, stText, bZero))
            return s_astCascade[i].s32CodeType;
    }
    for (size_t i = UTF16_ROWS; i < std::size(s_astCascade) && !quitRequested(stControl); ++i) {
        const CASCADE_ROW_S &stRow = s_astCascade[i];
        if (!stRow.pstKnown->includes(stSeen))
            continue;
        const int32_t s32Unknown = findUnknown(stControl, stText, s32Start, stRow, s_stGaps.ast[i]);
        if (quitRequested(stControl))
            break;
        if (s32Unknown == stText.s32Length)
            return stRow.s32CodeType;
        stSeen.add(stText.pu8[s32Unknown]);
    }
    return 0;
}

} // namespace zucharset
