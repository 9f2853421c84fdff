#include "detector_cascade.h"

#include "text_scan.h"
#include "utf16_units.h"

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

// The quit flag is read once more in the middle of the cascade.
constexpr size_t QUIT_ROW = 13;

// The bytes that occur in a text, as far as they tell: no test minds 20 to 7E, and none knows one byte below 20 from
// another, so the first of those stands for all. Only a 00 is looked for further on.
ByteSet bytesOf(const HANDLE_CONTROL_S &stControl, TEXT_S stText) {
    uint8_t u8Limit = 0x20;
    const auto telling = [&u8Limit](auto wWords) { return markAtLeast(wWords, 0x7F) | markBelow(wWords, u8Limit); };
    uint8_t au8Seen[256] = {};
    int32_t s32Pos = 0;
    while ((s32Pos = findMarkedUnlessQuit(stControl, stText, s32Pos, telling)) < stText.s32Length &&
           !quitRequested(stControl)) {
        const uint8_t u8Byte = stText.pu8[s32Pos++];
        au8Seen[u8Byte] = 1;
        if (u8Byte < 0x20) {
            u8Limit = u8Byte == 0 ? 0 : 1;
            continue;
        }
        // Foreign bytes come in runs: take one without looking for its end byte by byte.
        const int32_t s32End = stText.s32Length - s32Pos > 16 ? s32Pos + 16 : stText.s32Length;
        while (s32Pos < s32End)
            au8Seen[stText.pu8[s32Pos++]] = 1;
    }
    ByteSet stBytes{};
    for (uint32_t u32Byte = 0; u32Byte < 256; ++u32Byte) {
        if (au8Seen[u32Byte] != 0)
            stBytes.add(static_cast<uint8_t>(u32Byte));
    }
    return stBytes;
}

// The answer of a UTF-16 test, but that a quit request ends it. Without a zero byte there is no ASCII unit, so that
// only a byte order mark can make a text UTF-16; the test itself sees to that, and logs it.
bool acceptsUtf16(const CASCADE_ROW_S &stRow, const HANDLE_CONTROL_S &stControl, TEXT_S stText,
                  const ByteSet &stBytes) {
    const uint32_t u32Start = stText.s32Length >= 2 ? loadAs<uint16_t>(stText.pu8) : 0;
    if (u32Start == 0xFEFF || u32Start == 0xFFFE)
        return stRow.pfnTest(stText.pu8, stText.s32Length) == 0;
    const int32_t s32High = stRow.s32CodeType == ZU_CHARSET_CODETYPE_UCS16BE ? 0 : 1;
    return stBytes.has(0x00) && checkUtf16Units(stText.pu8, stText.s32Length, s32High,
                                                [&stControl] { return quitRequested(stControl); }) == 0;
}

// Whether a row accepts the text. The bytes that occur are all that a single-byte test looks at, IsIso8859_1 apart.
bool accepts(const CASCADE_ROW_S &stRow, const HANDLE_CONTROL_S &stControl, TEXT_S stText, const ByteSet &stBytes) {
    if (stRow.pstKnown == nullptr)
        return acceptsUtf16(stRow, stControl, stText, stBytes);
    if (stRow.pfnTest == IsIso8859_1)
        return IsIso8859_1(stText.pu8, stText.s32Length) == 0;
    return stRow.pstKnown->includes(stBytes);
}

} // namespace

std::span<const CASCADE_ROW_S> cascadeRows() { return s_astCascade; }

int32_t identifySingleByte(const HANDLE_CONTROL_S &stControl, TEXT_S stText) {
    if (quitRequested(stControl))
        return 0;
    const ByteSet stBytes = bytesOf(stControl, stText);
    for (size_t i = 0; i < std::size(s_astCascade); ++i) {
        // The first looks are at a request during the count of bytes or of units, which leaves them unfinished.
        if ((i <= UTF16_ROWS || i == QUIT_ROW) && quitRequested(stControl))
            return 0;
        if (accepts(s_astCascade[i], stControl, stText, stBytes))
            return s_astCascade[i].s32CodeType;
    }
    return 0;
}

} // namespace zucharset
